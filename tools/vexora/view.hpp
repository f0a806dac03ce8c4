// view.hpp - `vexora view FILE`: an interactive viewer on the library's display engine.
//
// Provides:
//   - Viewer: the window's behaviour, written once over the Win32 message calls. It answers
//     the messages of one window (size, paint, scroll, keys, mouse) with the library's display
//     engine (DisplayDIBStart and the DisplayWm... handlers), its rubber-band zoom (BZoom...)
//     and its magnifier lens (M_...). On Windows the messages come from a real window; on
//     Linux from a library window (VexoraCreateWindow) that an SDL host feeds.
//   - ScriptStep / ReadScript: the hidden `--script FILE` option, a list of synthetic input
//     events and screenshots that the tests use to drive the viewer without a person.
//   - RunViewHost: the platform's host (view_sdl.cpp on Linux, view_win32.cpp on Windows):
//     it makes the window, turns the platform's input into messages for the Viewer, runs
//     the script and ends when the window is closed.
//
// The key codes are Windows' virtual-key codes on both platforms; the Linux host translates
// SDL's key symbols into them, so the Viewer has one keyboard table.
#pragma once

#include <functional>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli.hpp"

namespace vexora_tool {

inline constexpr const char* kViewHelp =
    "usage: vexora view FILE [--page N] [--size WxH]\n"
    "\n"
    "Shows FILE (any file 'vexora convert' reads) in a window through the library's display\n"
    "engine. The title names the file, its size, depth and the zoom.\n"
    "  --page N              the page of a multi-page file (default 1)\n"
    "  --size WxH            the largest first window size (default 1024x768)\n"
    "\n"
    "keys and mouse:\n"
    "  arrows, wheel         scroll by a line (shift+wheel: sideways)\n"
    "  Page Up/Down, Home/End  scroll by half a window, to the top or the bottom\n"
    "  scroll bars           click the arrows or the trough, drag the thumb\n"
    "  + / -                 zoom in or out one step (x1, x2, x4, x6, x8; /1.5, /3, /4, /5)\n"
    "  drag a rectangle      zoom so that it fills the window; a click zooms in one step\n"
    "  hold m                a magnifier lens under the mouse, twice the view's scale\n"
    "  f  s                  fit the window keeping the aspect / stretch to fill it\n"
    "  c  r  i               centre a small image / true size (image dpi) / inverted\n"
    "  q, Escape             quit\n";

// Virtual-key codes the viewer reacts to (Windows' values).
namespace keys {
inline constexpr WPARAM kPageUp = 0x21, kPageDown = 0x22, kEnd = 0x23, kHome = 0x24;
inline constexpr WPARAM kLeft = 0x25, kUp = 0x26, kRight = 0x27, kDown = 0x28;
inline constexpr WPARAM kEscape = 0x1B, kShift = 0x10;
}  // namespace keys

// Mouse-message key state bit of the shift key (MK_SHIFT).
inline constexpr WPARAM kMouseShift = 0x0004;
// One notch of the wheel (WHEEL_DELTA), and the lines it scrolls.
inline constexpr int kWheelDelta = 120;
inline constexpr int kLinesPerNotch = 3;

// What the viewer asks of its host.
struct ViewerHost {
    std::function<void(const std::string&)> setTitle;
    std::function<void()> close;      // the user asked to quit
    std::function<void()> destroyed;  // the window is being destroyed
};

class Viewer {
public:
    Viewer(Dib image, std::string name);
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    // Binds the viewer to its window once it exists (in place of WM_CREATE, which a library
    // window does not receive) and shows the image at 1:1 from its top-left corner.
    void attach(HWND window);
    // Answers one message of the window; false when the viewer leaves it to DefWindowProcA.
    bool handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result);

    void setHost(ViewerHost host) { host_ = std::move(host); }
    const BITMAPINFOHEADER& header() const { return header_; }
    HWND window() const { return window_; }

private:
    void restart(const POINT* topLeft, const VXZOOMRATIO& zoom, DWORD flags);
    void toggle(DWORD flag);
    void stepZoom(int command);
    void finishBand(POINT end);
    void scrollToLogical(POINT topLeft);
    POINT viewToImage(POINT client);
    void startLens(POINT at);
    void moveLens(POINT at);
    void stopLens();
    void scroll(UINT message, int code, int times = 1);
    void updateTitle();
    void syncClient();
    RECT clientRect() const;

    Dib image_;
    BITMAPINFOHEADER header_{};
    std::string name_;
    ViewerHost host_;
    HWND window_ = nullptr;
    VXDISPLAYSTATE state_{};
    VXBZOOM band_{};
    bool dragging_ = false;
    bool lensShown_ = false;
    HBITMAP lensSource_ = nullptr;  // the image as a device bitmap, made for the first lens
    POINT mouse_{0, 0};
};

// One line of a script: a verb and its numbers or word.
//   key NAME | keydown NAME | keyup NAME   NAME: left right up down pageup pagedown home end
//                                          escape, or one letter (f s c r i m q)
//   char C                                 a typed character (+ - =)
//   move X Y | press X Y | release X Y     the mouse, left button, client coordinates
//   wheel N                                N notches (positive: away from the user)
//   hbar P | vbar P                        a left click on the horizontal or vertical scroll
//                                          bar, P pixels from its start (negative: from its
//                                          end); the Linux host draws the bars itself
//   resize W H                             the size of the client area with its scroll bars
//   shot FILE                              the window's pixels as a binary PPM file
//   quit
struct ScriptStep {
    std::string verb;
    std::string word;
    int x = 0, y = 0;
};

// Reads a script file; throws UsageError naming the line of a step it cannot read.
std::vector<ScriptStep> ReadScript(const std::string& path);

// The virtual-key code of a script key name, 0 for an unknown name.
WPARAM KeyCodeOf(const std::string& name);

// Writes width x height pixels (0x00RRGGBB, top row first, `stride` pixels a row) as a
// binary PPM file; throws OperationFailed when it cannot.
void WritePpm(const std::string& path, const uint32_t* pixels, int width, int height, int stride);

// The platform's host: shows `viewer` in a window of about the image's size (at most
// maxWidth x maxHeight), runs `script` (when not empty) and returns when the window closes.
int RunViewHost(Viewer& viewer, const std::vector<ScriptStep>& script, int maxWidth, int maxHeight);

}  // namespace vexora_tool
