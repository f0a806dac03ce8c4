// dialog_templates.hpp - the library's dialog templates as the Linux dialog manager reads them:
// ControlTemplate, DialogTemplate and DialogTemplates(), the table generated at build time from
// resources/vexora.rc (resources/dialog_templates.py), so the .rc file stays the one source of
// the templates on both platforms.
//
// Positions and sizes are dialog units, as written in the .rc file; styles are the full style
// words a resource compiler stores (the statement's defaults, WS_CHILD | WS_VISIBLE for controls,
// and what the statement adds).
#pragma once

#include <cstdint>
#include <span>

namespace vx::posix::user {

enum class ControlClass { Static, Button, Edit, ComboBox, ListBox };

struct ControlTemplate {
    ControlClass kind;
    const char* text;
    int id;
    int x, y, cx, cy;
    uint32_t style;
};

struct DialogTemplate {
    const char* name;
    const char* caption;
    int x, y, cx, cy;
    uint32_t style;
    int fontSize;
    const char* fontFace;
    std::span<const ControlTemplate> controls;
};

std::span<const DialogTemplate> DialogTemplates();

}  // namespace vx::posix::user
