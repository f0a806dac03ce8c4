// view_sdl.cpp - RunViewHost on Linux: the viewer's library window (VexoraCreateWindow) shown
// in an SDL window.
//
// Provides RunViewHost (view.hpp) for platforms without Win32.
//
// The library keeps the window's client area as pixels and runs Windows' paint, scroll-bar and
// capture rules on it; this host only shows and feeds it:
//   - present: the client pixels (VexoraWindowPixels) are copied into the SDL window's
//     surface at (0, 0) and the scroll bars are drawn beside them, right and below, from
//     GetScrollRange/GetScrollPos/VexoraScrollBarShown, each SM_CXVSCROLL/SM_CYHSCROLL thick;
//   - input: SDL's key, text, mouse and wheel events become posted WM_KEYDOWN/WM_KEYUP,
//     WM_CHAR, WM_MOUSEMOVE/WM_LBUTTONDOWN/WM_LBUTTONUP and WM_MOUSEWHEEL messages; a click
//     or drag on a drawn scroll bar becomes WM_HSCROLL/WM_VSCROLL with the code Windows' bar
//     would send (line at the arrows, page in the trough, thumb track and thumb position
//     while the thumb is dragged);
//   - the SDL window's size is the library window's frame (VexoraSetWindowPos), so the
//     client area is that less the scroll bars the library shows;
//   - WaitMessage inside the library waits for the next SDL event;
//   - the cursor is hidden while the library sets none (the magnifier does that).
//
// With --script the steps are turned into the same SDL events (SDL_PushEvent) one at a time,
// each after everything before it has been handled and painted, so a test drives exactly the
// path a person's input takes. Scripted mouse events carry their own device number; real
// pointer events are then ignored, so that where the X pointer happens to rest cannot matter.
#if !defined(_WIN32)

#include <SDL.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <vector>

#include "view.hpp"

namespace vexora_tool {

namespace {

constexpr Uint32 kScriptedMouse = 0x5C;
constexpr Uint32 kTrough = 0xE4E4E4, kButton = 0xB8B8B8, kThumb = 0x8C8C8C, kMark = 0x404040;

// Where the parts of one drawn scroll bar lie along its axis, in window pixels.
struct BarLayout {
    bool shown = false;
    SDL_Rect strip{0, 0, 0, 0};          // the whole bar
    int start = 0, end = 0;              // the trough between the arrow buttons
    int thumbStart = 0, thumbLength = 0;
    int minimum = 0, maximum = 0;
};

class SdlHost {
public:
    SdlHost(Viewer& viewer, const std::vector<ScriptStep>& script) : viewer_(viewer), script_(script) {}
    ~SdlHost() {
        if (window_ != nullptr) VexoraDestroyWindow(window_);
        if (sdl_ != nullptr) SDL_DestroyWindow(sdl_);
    }
    SdlHost(const SdlHost&) = delete;
    SdlHost& operator=(const SdlHost&) = delete;

    int run(int maxWidth, int maxHeight);

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    static void Present(void* context, HWND, const RECT*) { static_cast<SdlHost*>(context)->dirty_ = true; }
    static void ScrollBarsChanged(void* context, HWND) { static_cast<SdlHost*>(context)->dirty_ = true; }
    static void Cursor(void*, HWND, HCURSOR cursor) { SDL_ShowCursor(cursor != nullptr ? SDL_ENABLE : SDL_DISABLE); }
    static BOOL Wait(void* context, HWND);

    void deliver();
    void present();
    BarLayout layout(int bar) const;
    void drawBar(SDL_Surface* surface, int bar);
    void translate(const SDL_Event& event);
    void mouseButton(const SDL_MouseButtonEvent& button, bool down);
    void mouseMotion(const SDL_MouseMotionEvent& motion);
    bool barClick(int x, int y);
    void thumbTo(int along, int code);
    void runStep(const ScriptStep& step);
    void shot(const std::string& path);
    void pushMouse(Uint32 type, int x, int y);
    void pushKey(Uint32 type, const std::string& name);

    Viewer& viewer_;
    const std::vector<ScriptStep>& script_;
    size_t nextStep_ = 0;
    SDL_Window* sdl_ = nullptr;
    HWND window_ = nullptr;
    bool dirty_ = true, quit_ = false, buttonDown_ = false;
    int barThickness_ = 16;
    int thumbBar_ = -1, thumbGrab_ = 0, thumbPosition_ = 0;  // a thumb being dragged
};

LRESULT CALLBACK SdlHost::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* host = reinterpret_cast<SdlHost*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    LRESULT result = 0;
    if (host != nullptr && host->viewer_.handle(window, message, wParam, lParam, result)) return result;
    return DefWindowProcA(window, message, wParam, lParam);
}

BOOL SdlHost::Wait(void* context, HWND window) {
    auto* host = static_cast<SdlHost*>(context);
    SDL_Event event;
    if (host->quit_ || !SDL_WaitEvent(&event)) return FALSE;
    host->translate(event);
    PostMessageA(window, WM_NULL, 0, 0);
    return host->quit_ ? FALSE : TRUE;
}

// Everything the library has queued, then the paints it owes.
void SdlHost::deliver() {
    MSG message;
    while (!quit_ && PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
    if (!quit_) UpdateWindow(window_);
}

BarLayout SdlHost::layout(int bar) const {
    BarLayout b;
    b.shown = VexoraScrollBarShown(window_, bar) != FALSE;
    if (!b.shown) return b;
    RECT client{0, 0, 0, 0};
    GetClientRect(window_, &client);
    const int t = barThickness_;
    const bool vertical = bar == SB_VERT;
    b.strip = vertical ? SDL_Rect{client.right, 0, t, client.bottom} : SDL_Rect{0, client.bottom, client.right, t};
    const int length = vertical ? b.strip.h : b.strip.w;
    const int button = std::min(t, length / 2);
    b.start = button;
    b.end = length - button;
    GetScrollRange(window_, bar, &b.minimum, &b.maximum);
    const int trough = std::max(0, b.end - b.start);
    const int span = std::max(0, b.maximum - b.minimum);
    const int page = vertical ? client.bottom : client.right;
    b.thumbLength = span == 0 ? trough : std::clamp(static_cast<int>(int64_t{trough} * page / (span + page)), std::min(t, trough), trough);
    const int position = std::clamp(GetScrollPos(window_, bar), b.minimum, std::max(b.minimum, b.maximum));
    b.thumbStart = b.start + (span == 0 ? 0 : static_cast<int>(int64_t{trough - b.thumbLength} * (position - b.minimum) / span));
    return b;
}

void SdlHost::drawBar(SDL_Surface* surface, int bar) {
    const BarLayout b = layout(bar);
    if (!b.shown) return;
    const bool vertical = bar == SB_VERT;
    auto along = [&](int from, int length, int inset) {
        return vertical ? SDL_Rect{b.strip.x + inset, b.strip.y + from, b.strip.w - 2 * inset, length}
                        : SDL_Rect{b.strip.x + from, b.strip.y + inset, length, b.strip.h - 2 * inset};
    };
    auto fill = [&](SDL_Rect r, Uint32 rgb) {
        SDL_FillRect(surface, &r, SDL_MapRGB(surface->format, Uint8(rgb >> 16), Uint8(rgb >> 8), Uint8(rgb)));
    };
    fill(b.strip, kTrough);
    const int length = vertical ? b.strip.h : b.strip.w;
    fill(along(0, b.start, 0), kButton);
    fill(along(b.end, length - b.end, 0), kButton);
    // A small mark in each arrow button, nearer the end it scrolls towards.
    const int mark = std::max(2, barThickness_ / 4);
    fill(along(b.start / 2 - mark / 2, mark, barThickness_ / 2 - mark / 2), kMark);
    fill(along(b.end + (length - b.end) / 2 - mark / 2, mark, barThickness_ / 2 - mark / 2), kMark);
    if (b.thumbLength > 0) fill(along(b.thumbStart, b.thumbLength, 2), kThumb);
}

void SdlHost::present() {
    dirty_ = false;
    SDL_Surface* surface = SDL_GetWindowSurface(sdl_);
    if (surface == nullptr) return;
    SDL_FillRect(surface, nullptr, SDL_MapRGB(surface->format, 0xC0, 0xC0, 0xC0));
    int width = 0, height = 0, stride = 0;
    if (const void* pixels = VexoraWindowPixels(window_, &width, &height, &stride)) {
        SDL_Surface* client = SDL_CreateRGBSurfaceWithFormatFrom(const_cast<void*>(pixels), width, height, 32, stride,
                                                                 SDL_PIXELFORMAT_RGB888);
        if (client != nullptr) {
            SDL_BlitSurface(client, nullptr, surface, nullptr);
            SDL_FreeSurface(client);
        }
    }
    drawBar(surface, SB_VERT);
    drawBar(surface, SB_HORZ);
    SDL_UpdateWindowSurface(sdl_);
}

bool SdlHost::barClick(int x, int y) {
    for (const int bar : {SB_VERT, SB_HORZ}) {
        const BarLayout b = layout(bar);
        const SDL_Point point{x, y};
        if (!b.shown || !SDL_PointInRect(&point, &b.strip)) continue;
        const int along = bar == SB_VERT ? y - b.strip.y : x - b.strip.x;
        const UINT message = bar == SB_VERT ? WM_VSCROLL : WM_HSCROLL;
        int code = SB_ENDSCROLL;
        if (along < b.start) {
            code = SB_LINEUP;
        } else if (along >= b.end) {
            code = SB_LINEDOWN;
        } else if (along < b.thumbStart) {
            code = SB_PAGEUP;
        } else if (along >= b.thumbStart + b.thumbLength) {
            code = SB_PAGEDOWN;
        } else {
            thumbBar_ = bar;
            thumbGrab_ = along - b.thumbStart;
            thumbPosition_ = GetScrollPos(window_, bar);
            return true;
        }
        PostMessageA(window_, message, MAKEWPARAM(code, 0), 0);
        PostMessageA(window_, message, MAKEWPARAM(SB_ENDSCROLL, 0), 0);
        return true;
    }
    return false;
}

void SdlHost::thumbTo(int along, int code) {
    const BarLayout b = layout(thumbBar_);
    const int travel = b.end - b.start - b.thumbLength;
    if (travel > 0) {
        const int offset = std::clamp(along - thumbGrab_ - b.start, 0, travel);
        thumbPosition_ = b.minimum + static_cast<int>(int64_t{offset} * (b.maximum - b.minimum) / travel);
    }
    PostMessageA(window_, thumbBar_ == SB_VERT ? WM_VSCROLL : WM_HSCROLL, MAKEWPARAM(code, thumbPosition_), 0);
}

void SdlHost::mouseButton(const SDL_MouseButtonEvent& button, bool down) {
    if (button.button != SDL_BUTTON_LEFT) return;
    buttonDown_ = down;
    if (thumbBar_ >= 0 && !down) {
        thumbTo(thumbBar_ == SB_VERT ? button.y : button.x, SB_THUMBPOSITION);
        PostMessageA(window_, thumbBar_ == SB_VERT ? WM_VSCROLL : WM_HSCROLL, MAKEWPARAM(SB_ENDSCROLL, 0), 0);
        thumbBar_ = -1;
        return;
    }
    RECT client{0, 0, 0, 0};
    GetClientRect(window_, &client);
    const POINT point{button.x, button.y};
    if (GetCapture() != window_ && !PtInRect(&client, point)) {
        if (down) barClick(button.x, button.y);
        return;
    }
    PostMessageA(window_, down ? WM_LBUTTONDOWN : WM_LBUTTONUP, down ? MK_LBUTTON : 0, MAKELPARAM(button.x, button.y));
}

void SdlHost::mouseMotion(const SDL_MouseMotionEvent& motion) {
    if (thumbBar_ >= 0) {
        thumbTo(thumbBar_ == SB_VERT ? motion.y : motion.x, SB_THUMBTRACK);
        return;
    }
    // Over the drawn scroll bars the pointer is outside the client area, as over Windows' own.
    RECT client{0, 0, 0, 0};
    GetClientRect(window_, &client);
    if (GetCapture() != window_ && !PtInRect(&client, POINT{motion.x, motion.y})) return;
    PostMessageA(window_, WM_MOUSEMOVE, buttonDown_ ? MK_LBUTTON : 0, MAKELPARAM(motion.x, motion.y));
}

WPARAM VirtualKey(SDL_Keycode key) {
    switch (key) {
    case SDLK_LEFT: return keys::kLeft;
    case SDLK_RIGHT: return keys::kRight;
    case SDLK_UP: return keys::kUp;
    case SDLK_DOWN: return keys::kDown;
    case SDLK_PAGEUP: return keys::kPageUp;
    case SDLK_PAGEDOWN: return keys::kPageDown;
    case SDLK_HOME: return keys::kHome;
    case SDLK_END: return keys::kEnd;
    case SDLK_ESCAPE: return keys::kEscape;
    case SDLK_LSHIFT:
    case SDLK_RSHIFT: return keys::kShift;
    default: break;
    }
    if (key >= SDLK_a && key <= SDLK_z) return static_cast<WPARAM>('A' + (key - SDLK_a));
    if (key >= SDLK_0 && key <= SDLK_9) return static_cast<WPARAM>(key);
    return 0;
}

SDL_Keycode SdlKey(WPARAM code) {
    for (SDL_Keycode key : {SDLK_LEFT, SDLK_RIGHT, SDLK_UP, SDLK_DOWN, SDLK_PAGEUP, SDLK_PAGEDOWN, SDLK_HOME, SDLK_END,
                            SDLK_ESCAPE, SDLK_LSHIFT}) {
        if (VirtualKey(key) == code) return key;
    }
    if (code >= 'A' && code <= 'Z') return static_cast<SDL_Keycode>(SDLK_a + (code - 'A'));
    return SDLK_UNKNOWN;
}

void SdlHost::translate(const SDL_Event& event) {
    const bool scripted = !script_.empty();
    switch (event.type) {
    case SDL_QUIT:
        quit_ = true;
        break;
    case SDL_WINDOWEVENT:
        if (event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) {
            VexoraSetWindowPos(window_, 0, 0, event.window.data1, event.window.data2);
            dirty_ = true;
        } else if (event.window.event == SDL_WINDOWEVENT_EXPOSED) {
            dirty_ = true;
        } else if (event.window.event == SDL_WINDOWEVENT_CLOSE) {
            quit_ = true;
        }
        break;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        if (const WPARAM code = VirtualKey(event.key.keysym.sym)) {
            PostMessageA(window_, event.type == SDL_KEYDOWN ? WM_KEYDOWN : WM_KEYUP, code, event.key.repeat ? 1 << 30 : 0);
        }
        break;
    case SDL_TEXTINPUT:
        for (const char* c = event.text.text; *c != '\0'; ++c) PostMessageA(window_, WM_CHAR, static_cast<unsigned char>(*c), 1);
        break;
    case SDL_MOUSEMOTION:
        if (!scripted || event.motion.which == kScriptedMouse) mouseMotion(event.motion);
        break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        if (!scripted || event.button.which == kScriptedMouse) mouseButton(event.button, event.type == SDL_MOUSEBUTTONDOWN);
        break;
    case SDL_MOUSEWHEEL: {
        if (scripted && event.wheel.which != kScriptedMouse) break;
        const WPARAM keys = (SDL_GetModState() & KMOD_SHIFT) ? kMouseShift : 0;
        PostMessageA(window_, WM_MOUSEWHEEL, MAKEWPARAM(keys, event.wheel.y * kWheelDelta), 0);
        break;
    }
    default:
        break;
    }
}

void SdlHost::pushMouse(Uint32 type, int x, int y) {
    SDL_Event event{};
    event.type = type;
    if (type == SDL_MOUSEMOTION) {
        event.motion.which = kScriptedMouse;
        event.motion.x = x;
        event.motion.y = y;
        event.motion.state = buttonDown_ ? SDL_BUTTON_LMASK : 0;
    } else {
        event.button.which = kScriptedMouse;
        event.button.button = SDL_BUTTON_LEFT;
        event.button.state = type == SDL_MOUSEBUTTONDOWN ? SDL_PRESSED : SDL_RELEASED;
        event.button.x = x;
        event.button.y = y;
    }
    SDL_PushEvent(&event);
}

void SdlHost::pushKey(Uint32 type, const std::string& name) {
    SDL_Event event{};
    event.type = type;
    event.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
    event.key.keysym.sym = SdlKey(KeyCodeOf(name));
    SDL_PushEvent(&event);
}

void SdlHost::shot(const std::string& path) {
    present();
    SDL_Surface* surface = SDL_GetWindowSurface(sdl_);
    if (surface == nullptr) throw OperationFailed("no window surface to take a screenshot of");
    std::vector<uint32_t> pixels(static_cast<size_t>(surface->w) * static_cast<size_t>(surface->h));
    if (SDL_ConvertPixels(surface->w, surface->h, surface->format->format, surface->pixels, surface->pitch,
                          SDL_PIXELFORMAT_RGB888, pixels.data(), surface->w * 4) != 0)
        throw OperationFailed(std::string("cannot read the window's pixels: ") + SDL_GetError());
    WritePpm(path, pixels.data(), surface->w, surface->h, surface->w);
}

void SdlHost::runStep(const ScriptStep& step) {
    const std::string& v = step.verb;
    if (v == "key") {
        pushKey(SDL_KEYDOWN, step.word);
        pushKey(SDL_KEYUP, step.word);
    } else if (v == "keydown" || v == "keyup") {
        pushKey(v == "keydown" ? SDL_KEYDOWN : SDL_KEYUP, step.word);
    } else if (v == "char") {
        SDL_Event event{};
        event.type = SDL_TEXTINPUT;
        std::strncpy(event.text.text, step.word.c_str(), sizeof event.text.text - 1);
        SDL_PushEvent(&event);
    } else if (v == "move") {
        pushMouse(SDL_MOUSEMOTION, step.x, step.y);
    } else if (v == "press" || v == "release") {
        pushMouse(v == "press" ? SDL_MOUSEBUTTONDOWN : SDL_MOUSEBUTTONUP, step.x, step.y);
    } else if (v == "wheel") {
        SDL_Event event{};
        event.type = SDL_MOUSEWHEEL;
        event.wheel.which = kScriptedMouse;
        event.wheel.y = step.x;
        SDL_PushEvent(&event);
    } else if (v == "hbar" || v == "vbar") {
        const BarLayout b = layout(v == "vbar" ? SB_VERT : SB_HORZ);
        if (!b.shown) throw OperationFailed("script: the " + v + " is not shown");
        const int length = v == "vbar" ? b.strip.h : b.strip.w;
        const int along = step.x >= 0 ? step.x : length + step.x;
        const int x = v == "vbar" ? b.strip.x + b.strip.w / 2 : b.strip.x + along;
        const int y = v == "vbar" ? b.strip.y + along : b.strip.y + b.strip.h / 2;
        pushMouse(SDL_MOUSEBUTTONDOWN, x, y);
        pushMouse(SDL_MOUSEBUTTONUP, x, y);
    } else if (v == "resize") {
        SDL_SetWindowSize(sdl_, step.x, step.y);
        VexoraSetWindowPos(window_, 0, 0, step.x, step.y);
    } else if (v == "shot") {
        shot(step.word);
    } else if (v == "quit") {
        quit_ = true;
    }
}

int SdlHost::run(int maxWidth, int maxHeight) {
    if (SDL_Init(SDL_INIT_VIDEO) != 0) throw OperationFailed(std::string("cannot open a window: ") + SDL_GetError());
    const BITMAPINFOHEADER& header = viewer_.header();
    const int width = std::clamp<int>(header.biWidth, 64, maxWidth);
    const int height = std::clamp<int>(std::abs(header.biHeight), 64, maxHeight);
    sdl_ = SDL_CreateWindow("vexora view", 0, 0, width, height, SDL_WINDOW_RESIZABLE);
    if (sdl_ == nullptr) throw OperationFailed(std::string("cannot open a window: ") + SDL_GetError());
    const int metric = GetSystemMetrics(SM_CXVSCROLL);
    if (metric > 0) barThickness_ = metric;

    VXWINDOWHOST host{};
    host.windowProc = WindowProc;
    host.background = static_cast<HBRUSH>(GetStockObject(LTGRAY_BRUSH));
    host.context = this;
    host.present = Present;
    host.scrollBars = ScrollBarsChanged;
    host.cursor = Cursor;
    host.waitMessage = Wait;
    window_ = VexoraCreateWindow(width, height, &host);
    if (window_ == nullptr) throw OperationFailed("cannot make the library window (" + std::to_string(width) + " x " +
                                                  std::to_string(height) + ")");
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    // The arrow, as a Windows class cursor would give: what the lens hides and then restores.
    SetCursor(LoadCursorA(nullptr, IDC_ARROW));
    viewer_.setHost(ViewerHost{[this](const std::string& title) { SDL_SetWindowTitle(sdl_, title.c_str()); },
                               [this] { quit_ = true; }, [this] { quit_ = true; }});
    viewer_.attach(window_);

    SDL_Event event;
    while (!quit_) {
        deliver();
        if (dirty_) present();
        if (quit_) break;
        if (nextStep_ < script_.size()) {
            // Everything before the step is handled: pending SDL events first.
            if (SDL_PollEvent(&event)) {
                translate(event);
                continue;
            }
            runStep(script_[nextStep_++]);
            continue;
        }
        if (!script_.empty()) break;  // a script that ends without `quit` ends the viewer too
        if (!SDL_WaitEvent(&event)) break;
        translate(event);
    }
    // The viewer hears WM_DESTROY and gives back what its display state owns.
    VexoraDestroyWindow(window_);
    window_ = nullptr;
    viewer_.setHost(ViewerHost{});
    return kExitSuccess;
}

}  // namespace

int RunViewHost(Viewer& viewer, const std::vector<ScriptStep>& script, int maxWidth, int maxHeight) {
    // SDL is not shut down: SDL_Quit would unload the X11 and D-Bus libraries it opened, and
    // the buffers they keep to the end would then show as leaks of no known library under the
    // leak checker. The window itself is destroyed with the host.
    SdlHost host(viewer, script);
    return host.run(maxWidth, maxHeight);
}

}  // namespace vexora_tool

#endif  // !_WIN32
