// view_win32.cpp - RunViewHost on Windows: the viewer in a real top-level window.
//
// Provides RunViewHost (view.hpp) for Windows builds.
//
// A window class of its own (light gray background, arrow cursor) whose procedure hands every
// message to the Viewer, the same code the Linux host feeds; Windows itself draws the scroll
// bars the display engine sets and sends their WM_HSCROLL/WM_VSCROLL. The message loop
// translates keys so that `+` and `-` arrive as WM_CHAR.
//
// With --script the steps are sent as the messages the input would make (keys, characters,
// mouse, wheel), one at a time after everything before has been handled and painted; a shot
// reads the client area back through a window context. Clicks on scroll bars belong to
// Windows here, so the bar steps of a script are refused.
#if defined(_WIN32)

#include <algorithm>
#include <vector>

#include "view.hpp"

namespace vexora_tool {

namespace {

constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW;
constexpr const char* kClassName = "VexoraView";

Viewer* g_viewer = nullptr;  // the one viewer of this process, for the window procedure

LRESULT CALLBACK ViewProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    LRESULT result = 0;
    if (g_viewer != nullptr && g_viewer->window() == window && g_viewer->handle(window, message, wParam, lParam, result))
        return result;
    return DefWindowProcA(window, message, wParam, lParam);
}

// Delivers what is queued and the paints owed; false once the window is gone.
bool Pump(HWND window) {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) return false;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    if (!IsWindow(window)) return false;
    UpdateWindow(window);
    return true;
}

void Shot(HWND window, const std::string& path) {
    RECT client{0, 0, 0, 0};
    GetClientRect(window, &client);
    const int width = client.right, height = client.bottom;
    std::vector<uint32_t> pixels(static_cast<size_t>(std::max(width, 1)) * static_cast<size_t>(std::max(height, 1)));
    HDC windowDC = GetDC(window);
    HDC memory = CreateCompatibleDC(windowDC);
    HBITMAP copy = CreateCompatibleBitmap(windowDC, width, height);
    HGDIOBJ previous = SelectObject(memory, copy);
    BitBlt(memory, 0, 0, width, height, windowDC, 0, 0, SRCCOPY);
    SelectObject(memory, previous);
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    GetDIBits(memory, copy, 0, static_cast<UINT>(height), pixels.data(), &info, DIB_RGB_COLORS);
    DeleteObject(copy);
    DeleteDC(memory);
    ReleaseDC(window, windowDC);
    WritePpm(path, pixels.data(), width, height, width);
}

void RunStep(HWND window, const ScriptStep& step) {
    const std::string& v = step.verb;
    const LPARAM at = MAKELPARAM(step.x, step.y);
    if (v == "key" || v == "keydown") PostMessageA(window, WM_KEYDOWN, KeyCodeOf(step.word), 1);
    if (v == "key" || v == "keyup") PostMessageA(window, WM_KEYUP, KeyCodeOf(step.word), 0xC0000001);
    if (v == "char") {
        for (char c : step.word) PostMessageA(window, WM_CHAR, static_cast<unsigned char>(c), 1);
    } else if (v == "move") {
        PostMessageA(window, WM_MOUSEMOVE, (GetKeyState(VK_LBUTTON) < 0 || GetCapture() == window) ? MK_LBUTTON : 0, at);
    } else if (v == "press") {
        PostMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, at);
    } else if (v == "release") {
        PostMessageA(window, WM_LBUTTONUP, 0, at);
    } else if (v == "wheel") {
        PostMessageA(window, WM_MOUSEWHEEL, MAKEWPARAM(0, step.x * kWheelDelta), 0);
    } else if (v == "hbar" || v == "vbar") {
        throw UsageError("script: Windows draws its own scroll bars; '" + v + "' is for the Linux host");
    } else if (v == "resize") {
        // The size of the client area with its scroll bars, as the Linux host's window.
        RECT frame{0, 0, step.x, step.y};
        AdjustWindowRectEx(&frame, kStyle, FALSE, 0);
        SetWindowPos(window, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    } else if (v == "shot") {
        Shot(window, step.word);
    } else if (v == "quit") {
        DestroyWindow(window);
    }
}

}  // namespace

int RunViewHost(Viewer& viewer, const std::vector<ScriptStep>& script, int maxWidth, int maxHeight) {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = ViewProc;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
    windowClass.lpszClassName = kClassName;
    RegisterClassA(&windowClass);

    const BITMAPINFOHEADER& header = viewer.header();
    RECT frame{0, 0, std::clamp<LONG>(header.biWidth, 64, maxWidth), std::clamp<LONG>(std::abs(header.biHeight), 64, maxHeight)};
    AdjustWindowRectEx(&frame, kStyle, FALSE, 0);
    HWND window = CreateWindowExA(0, kClassName, "vexora view", kStyle, 0, 0, frame.right - frame.left,
                                  frame.bottom - frame.top, nullptr, nullptr, instance, nullptr);
    if (window == nullptr) throw OperationFailed("cannot open a window");
    viewer.setHost(ViewerHost{[window](const std::string& title) { SetWindowTextA(window, title.c_str()); },
                              [window] { DestroyWindow(window); }, [] { PostQuitMessage(0); }});
    g_viewer = &viewer;
    viewer.attach(window);
    ShowWindow(window, script.empty() ? SW_SHOWNORMAL : SW_SHOWNOACTIVATE);
    UpdateWindow(window);

    if (!script.empty()) {
        for (const ScriptStep& step : script) {
            if (!Pump(window)) break;
            RunStep(window, step);
        }
        if (IsWindow(window)) Pump(window);
        if (IsWindow(window)) DestroyWindow(window);
    } else {
        MSG message;
        while (GetMessageA(&message, nullptr, 0, 0) > 0) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
    g_viewer = nullptr;
    viewer.setHost(ViewerHost{});
    return kExitSuccess;
}

}  // namespace vexora_tool

#endif  // _WIN32
