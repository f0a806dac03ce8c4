// test_window.hpp - TestWindow: a real window of a known client size for the tests of the
// window calls and of the display families, the same code on both platforms. On Windows it is
// a top-level window of a class of its own (light gray background brush), placed on the
// virtual display and shown; on Linux a library window (VexoraCreateWindow) with the same
// background. Messages go to the test's handler; what it leaves (std::nullopt) goes to
// DefWindowProcA. Neither platform hands the handler WM_CREATE: the window exists when the
// constructor returns, and a test that wants a create message sends one itself.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "vexora_win32.h"

namespace vxtest {

class TestWindow {
public:
    using Handler = std::function<std::optional<LRESULT>(HWND, UINT, WPARAM, LPARAM)>;

    // The class background of every test window: light gray, unlike the images drawn.
    static constexpr COLORREF kBackground = RGB(192, 192, 192);

    TestWindow(int clientWidth, int clientHeight, Handler handler = {});
    ~TestWindow();
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND get() const { return window_; }
    explicit operator bool() const { return window_ != nullptr; }
    void setHandler(Handler handler) { handler_ = std::move(handler); }

    // Delivers what is waiting: posted messages, then WM_PAINT while anything is invalid.
    void pump();
    RECT client() const;
    // The client area as 0x00RRGGBB values, top row first, read through a window DC.
    std::vector<uint32_t> pixels() const;
    uint32_t pixel(const std::vector<uint32_t>& pixels, int x, int y) const {
        return pixels[static_cast<size_t>(y) * static_cast<size_t>(client().right) + static_cast<size_t>(x)];
    }

    LRESULT dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

private:
    HWND window_ = nullptr;
    Handler handler_;
};

}  // namespace vxtest
