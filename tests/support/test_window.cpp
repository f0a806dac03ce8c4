// test_window.cpp - TestWindow (test_window.hpp) over a registered window class on Windows and
// over VexoraCreateWindow on Linux.
#include "test_window.hpp"

namespace vxtest {
namespace {

TestWindow* OwnerOf(HWND window) {
    return reinterpret_cast<TestWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
}

LRESULT CALLBACK TestWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (TestWindow* owner = OwnerOf(window)) return owner->dispatch(window, message, wParam, lParam);
    return DefWindowProcA(window, message, wParam, lParam);
}

#ifdef _WIN32
constexpr DWORD kStyle = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN;

const char* TestClass() {
    static const char* name = [] {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = TestWindowProc;
        windowClass.hInstance = GetModuleHandleA(nullptr);
        windowClass.hCursor = LoadCursorA(nullptr, IDC_ARROW);
        windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
        windowClass.lpszClassName = "VexoraTestWindow";
        RegisterClassA(&windowClass);
        return "VexoraTestWindow";
    }();
    return name;
}
#endif

}  // namespace

TestWindow::TestWindow(int clientWidth, int clientHeight, Handler handler) : handler_(std::move(handler)) {
#ifdef _WIN32
    RECT frame{0, 0, clientWidth, clientHeight};
    AdjustWindowRectEx(&frame, kStyle, FALSE, 0);
    window_ = CreateWindowExA(0, TestClass(), "vexora test", kStyle, 20, 20, frame.right - frame.left,
                              frame.bottom - frame.top, nullptr, nullptr, GetModuleHandleA(nullptr), nullptr);
    if (window_ == nullptr) return;
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    ShowWindow(window_, SW_SHOWNOACTIVATE);
    UpdateWindow(window_);
#else
    VXWINDOWHOST host{};
    host.windowProc = TestWindowProc;
    host.background = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
    window_ = VexoraCreateWindow(clientWidth, clientHeight, &host);
    if (window_ == nullptr) return;
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
#endif
    pump();
}

TestWindow::~TestWindow() {
    if (window_ == nullptr) return;
    SetWindowLongPtrA(window_, GWLP_USERDATA, 0);
#ifdef _WIN32
    DestroyWindow(window_);
#else
    VexoraDestroyWindow(window_);
#endif
    pump();
}

LRESULT TestWindow::dispatch(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (handler_) {
        if (std::optional<LRESULT> answer = handler_(window, message, wParam, lParam)) return *answer;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

void TestWindow::pump() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
}

RECT TestWindow::client() const {
    RECT rect{0, 0, 0, 0};
    if (window_ != nullptr) GetClientRect(window_, &rect);
    return rect;
}

std::vector<uint32_t> TestWindow::pixels() const {
    const RECT area = client();
    const int width = area.right, height = area.bottom;
    std::vector<uint32_t> values(static_cast<size_t>(width) * static_cast<size_t>(height));
    if (values.empty()) return values;
    HDC windowDC = GetDC(window_);
    HDC memory = CreateCompatibleDC(windowDC);
    HBITMAP copy = CreateCompatibleBitmap(windowDC, width, height);
    HGDIOBJ previous = SelectObject(memory, copy);
    BitBlt(memory, 0, 0, width, height, windowDC, 0, 0, SRCCOPY);
    SelectObject(memory, previous);
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    GetDIBits(memory, copy, 0, static_cast<UINT>(height), values.data(), &info, DIB_RGB_COLORS);
    DeleteObject(copy);
    DeleteDC(memory);
    ReleaseDC(window_, windowDC);
    for (uint32_t& value : values) value &= 0x00FFFFFFu;
    return values;
}

}  // namespace vxtest
