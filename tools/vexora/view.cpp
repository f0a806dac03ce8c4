// view.cpp - `vexora view FILE`: the command, the Viewer's answers to its window's messages,
// and the script reader and screenshot writer of the hidden --script option.
//
// Exports RunView, the Viewer class, ReadScript, KeyCodeOf and WritePpm (view.hpp).
//
// The Viewer keeps one display state record and hands the window's messages to the display
// engine: WM_SIZE to DisplayWmSize, WM_PAINT to DisplayWmPaint, the scroll messages to the
// DisplayWm...Scroll handlers. Everything that changes how the image is shown (a display flag,
// a zoom step) starts the display again with DisplayDIBStart, which recomputes the mapping,
// sets the scroll bars and invalidates the window, and passes the image point that should stay
// at the top-left (or, for a zoom step, in the middle) of the view.
//
// The rubber band is the library's: BZoomStart on button-down (drag mode, step-in command, so
// a click without a drag zooms in one step around the point), BZoomUpdate on every move, and
// BZoomEnd on button-up, which gives the display state its new zoom and names the image point
// that becomes the view's top-left. That point is in logical (image) units; the display
// scrolls in device pixels, so it is mapped through a context that carries the display's
// mapping (MapDisplayDC) and offset by the current scroll position before DisplaySetScrollPos.
//
// The lens follows the mouse while `m` is held: M_StartMagnify snapshots the window, and each
// move fills the lens from a device bitmap of the whole image (made once) at twice the
// display's current scale, centred on the image point under the mouse, and moves it there.
// While the lens is up the view does not scroll or zoom, since the lens restores the window
// from its snapshot.
#include "view.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <numeric>
#include <sstream>
#include <tuple>

#include "arguments.hpp"
#include "commands.hpp"

namespace vexora_tool {

namespace {

constexpr DWORD kStartFlags = DISPLAY_CENTER;

// A window context with the display's mapping applied, released on every exit.
class MappedContext {
public:
    MappedContext(HWND window, VXDISPLAYSTATE& state) : window_(window), dc_(GetDC(window)) {
        if (dc_ != nullptr) MapDisplayDC(dc_, &state);
    }
    ~MappedContext() {
        if (dc_ != nullptr) ReleaseDC(window_, dc_);
    }
    MappedContext(const MappedContext&) = delete;
    MappedContext& operator=(const MappedContext&) = delete;
    HDC get() const { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

std::string RatioText(LONG mul, LONG div) {
    if (mul <= 0 || div <= 0) return "?";
    const LONG common = std::gcd(mul, div);
    return std::to_string(mul / common) + ":" + std::to_string(div / common);
}

}  // namespace

Viewer::Viewer(Dib image, std::string name) : image_(std::move(image)), header_(HeaderOf(image_)), name_(std::move(name)) {}

Viewer::~Viewer() {
    if (lensShown_) M_StopMagnify();
    if (lensSource_ != nullptr) DeleteObject(lensSource_);
}

RECT Viewer::clientRect() const {
    RECT client{0, 0, 0, 0};
    GetClientRect(window_, &client);
    return client;
}

void Viewer::attach(HWND window) {
    window_ = window;
    DisplayWmCreate(window_, 0, 0, &state_);
    restart(nullptr, VXZOOMRATIO{1, 1, 1, 1}, kStartFlags);
}

void Viewer::restart(const POINT* topLeft, const VXZOOMRATIO& zoom, DWORD flags) {
    int position[4] = {0, 0, 0, 0};
    if (topLeft != nullptr) {
        position[0] = std::max<LONG>(0, topLeft->x);
        position[1] = std::max<LONG>(0, topLeft->y);
    }
    const int ratio[4] = {zoom.xMul, zoom.xDiv, zoom.yMul, zoom.yDiv};
    DisplayDIBStart(window_, image_.get(), topLeft != nullptr ? position : nullptr, ratio, flags, &state_);
    syncClient();
    updateTitle();
}

// Showing a scroll bar shrinks the client area and sends WM_SIZE; when that happens inside the
// size handler (the other bar appearing as the first one is set), the handler ignores it, on
// Windows as here, and the record keeps the client size it started with. So after every
// change the record is brought to the real client size (twice at most: the second pass can
// only confirm the bars the first one set).
void Viewer::syncClient() {
    for (int pass = 0; pass < 2; ++pass) {
        const RECT client = clientRect();
        if (EqualRect(&client, &state_.client)) break;
        DisplayWmSize(window_, SIZE_RESTORED, MAKELPARAM(client.right, client.bottom), &state_);
    }
    InvalidateRect(window_, nullptr, FALSE);
}

void Viewer::updateTitle() {
    std::string title = name_ + " - " + std::to_string(header_.biWidth) + " x " + std::to_string(header_.biHeight) +
                        ", " + std::to_string(header_.biBitCount) + " bits - ";
    const DWORD flags = state_.flags;
    if (flags & DISPLAY_FIT) {
        title += "fit";
    } else if (flags & DISPLAY_STRETCH) {
        title += "stretched";
    } else {
        title += "zoom " + RatioText(state_.zoom.xMul, state_.zoom.xDiv);
        if (state_.zoom.xMul * state_.zoom.yDiv != state_.zoom.yMul * state_.zoom.xDiv)
            title += " x " + RatioText(state_.zoom.yMul, state_.zoom.yDiv);
    }
    if (flags & DISPLAY_TRUESIZE) title += ", true size";
    if (flags & DISPLAY_CENTER) title += ", centred";
    if (flags & DISPLAY_INVERT) title += ", inverted";
    if (host_.setTitle) host_.setTitle(title);
}

POINT Viewer::viewToImage(POINT client) {
    MappedContext dc(window_, state_);
    if (dc.get() != nullptr) DPtoLP(dc.get(), &client, 1);
    return client;
}

void Viewer::toggle(DWORD flag) {
    DWORD flags = state_.flags ^ flag;
    // Fit and stretch each replace the zoom; only one of them applies at a time.
    if (flag == DISPLAY_FIT) flags &= ~DISPLAY_STRETCH;
    if (flag == DISPLAY_STRETCH) flags &= ~DISPLAY_FIT;
    const POINT topLeft = state_.originLogical;
    restart(&topLeft, state_.zoom, flags);
}

void Viewer::stepZoom(int command) {
    const RECT client = clientRect();
    const POINT middle = viewToImage(POINT{client.right / 2, client.bottom / 2});
    const int current[4] = {state_.zoom.xMul, state_.zoom.xDiv, state_.zoom.yMul, state_.zoom.yDiv};
    BZoomStep(window_, current, command, &band_, &state_);
    const VXZOOMRATIO zoom = band_.newZoom;
    if (zoom.xMul <= 0 || zoom.xDiv <= 0 || zoom.yMul <= 0 || zoom.yDiv <= 0) return;
    // The image point in the middle of the view stays there.
    const POINT topLeft{static_cast<LONG>(middle.x - int64_t{client.right / 2} * zoom.xDiv / zoom.xMul),
                        static_cast<LONG>(middle.y - int64_t{client.bottom / 2} * zoom.yDiv / zoom.yMul)};
    restart(&topLeft, zoom, state_.flags & ~(DISPLAY_FIT | DISPLAY_STRETCH));
}

void Viewer::finishBand(POINT end) {
    dragging_ = false;
    BZoomEnd(window_, &end, &band_, &state_);
    // The display state has its new zoom: recompute its ranges and scroll bars for it, then
    // bring the named point to the top-left and repaint everything at the new scale.
    const RECT client = clientRect();
    DisplayWmSize(window_, SIZE_RESTORED, MAKELPARAM(client.right, client.bottom), &state_);
    syncClient();
    scrollToLogical(POINT{band_.newScrollX, band_.newScrollY});
    InvalidateRect(window_, nullptr, TRUE);
    UpdateWindow(window_);
    updateTitle();
}

void Viewer::scrollToLogical(POINT topLeft) {
    {
        MappedContext dc(window_, state_);
        if (dc.get() == nullptr) return;
        LPtoDP(dc.get(), &topLeft, 1);
    }
    POINT target{topLeft.x + state_.scrollX, topLeft.y + state_.scrollY};
    DisplaySetScrollPos(window_, &state_, &target);
}

void Viewer::startLens(POINT at) {
    if (lensSource_ == nullptr) lensSource_ = ConvertDIBToBitmap(image_.get());
    if (lensSource_ == nullptr) return;
    M_StartMagnify(window_, state_.palette);
    lensShown_ = true;
    moveLens(at);
}

void Viewer::moveLens(POINT at) {
    SIZE window{1, 1}, viewport{1, 1};
    POINT centre = at;
    {
        MappedContext dc(window_, state_);
        if (dc.get() == nullptr) return;
        GetWindowExtEx(dc.get(), &window);
        GetViewportExtEx(dc.get(), &viewport);
        DPtoLP(dc.get(), &centre, 1);
    }
    // Twice the display's scale; the lens shows the image no smaller than 1:1.
    int ratio[4] = {2 * std::abs(viewport.cx), std::abs(window.cx), 2 * std::abs(viewport.cy), std::abs(window.cy)};
    RECT source{0, 0, 0, 0};
    if (!M_CalcRect(centre.x, centre.y, ratio, &source)) return;
    M_StretchBitmap(lensSource_, source.left, source.top, source.right - source.left, source.bottom - source.top);
    M_CopyBitmap(window_, at.x - M_GetWidth() / 2, at.y - M_GetHeight() / 2);
}

void Viewer::stopLens() {
    if (!lensShown_) return;
    M_StopMagnify();
    lensShown_ = false;
}

void Viewer::scroll(UINT message, int code, int times) {
    for (int i = 0; i < times; ++i) SendMessageA(window_, message, MAKEWPARAM(code, 0), 0);
}

bool Viewer::handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) {
    result = 0;
    const POINT at{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
    switch (message) {
    case WM_SIZE:
        // A new client size moves a fitted, stretched or centred image, and the handler only
        // recomputes: the whole client is painted again.
        DisplayWmSize(window, wParam, lParam, &state_);
        syncClient();
        return true;
    case WM_ERASEBKGND:
        result = 1;  // the paint handler fills what the image leaves
        return true;
    case WM_PAINT:
        DisplayWmPaint(window, &state_);
        ValidateRect(window, nullptr);  // a paint that failed must not be asked for again and again
        return true;
    case WM_HSCROLL:
    case WM_VSCROLL:
        if (lensShown_) return true;
        if (message == WM_HSCROLL) {
            DisplayWmHorzScroll(window, wParam, lParam, &state_);
        } else {
            DisplayWmVertScroll(window, wParam, lParam, &state_);
        }
        return true;
    case WM_DESTROY:
        stopLens();
        DisplayWmDestroy(window, wParam, lParam, &state_);
        if (host_.destroyed) host_.destroyed();
        return true;
    case WM_MOUSEWHEEL: {
        if (lensShown_) return true;
        const int notches = static_cast<short>(HIWORD(wParam)) / kWheelDelta;
        const UINT axis = (LOWORD(wParam) & kMouseShift) ? WM_HSCROLL : WM_VSCROLL;
        scroll(axis, notches > 0 ? SB_LINEUP : SB_LINEDOWN, std::abs(notches) * kLinesPerNotch);
        return true;
    }
    case WM_CHAR:
        if (lensShown_ || dragging_) return true;
        if (wParam == '+' || wParam == '=') stepZoom(BZOOM_STEPIN);
        if (wParam == '-') stepZoom(BZOOM_STEPOUT);
        return true;
    case WM_KEYDOWN:
        if (wParam == 'M') {
            if (!lensShown_ && !dragging_) startLens(mouse_);
            return true;
        }
        if (wParam == keys::kEscape || wParam == 'Q') {
            if (host_.close) host_.close();
            return true;
        }
        if (lensShown_ || dragging_) return true;
        switch (wParam) {
        case keys::kLeft: scroll(WM_HSCROLL, SB_LINELEFT); break;
        case keys::kRight: scroll(WM_HSCROLL, SB_LINERIGHT); break;
        case keys::kUp: scroll(WM_VSCROLL, SB_LINEUP); break;
        case keys::kDown: scroll(WM_VSCROLL, SB_LINEDOWN); break;
        case keys::kPageUp: scroll(WM_VSCROLL, SB_PAGEUP); break;
        case keys::kPageDown: scroll(WM_VSCROLL, SB_PAGEDOWN); break;
        case keys::kHome: scroll(WM_VSCROLL, SB_TOP); scroll(WM_HSCROLL, SB_LEFT); break;
        case keys::kEnd: scroll(WM_VSCROLL, SB_BOTTOM); break;
        case 'F': toggle(DISPLAY_FIT); break;
        case 'S': toggle(DISPLAY_STRETCH); break;
        case 'C': toggle(DISPLAY_CENTER); break;
        case 'R': toggle(DISPLAY_TRUESIZE); break;
        case 'I': toggle(DISPLAY_INVERT); break;
        default: return false;
        }
        return true;
    case WM_KEYUP:
        if (wParam == 'M') stopLens();
        return wParam == 'M';
    case WM_LBUTTONDOWN: {
        if (lensShown_) return true;
        POINT start = at;
        const int current[4] = {state_.zoom.xMul, state_.zoom.xDiv, state_.zoom.yMul, state_.zoom.yDiv};
        BZoomStart(window, &start, current, BZOOM_DRAG | BZOOM_STEPIN, &band_, FALSE);
        dragging_ = true;
        return true;
    }
    case WM_MOUSEMOVE:
        mouse_ = at;
        if (lensShown_) {
            moveLens(at);
        } else if (dragging_) {
            POINT point = at;
            BZoomUpdate(window, &point, &band_);
        }
        return true;
    case WM_LBUTTONUP:
        if (dragging_) finishBand(at);
        return true;
    case WM_CAPTURECHANGED:
        return false;
    default:
        return false;
    }
}

// ------------------------------------------------------------------------------------------
// The script of the hidden --script option, and screenshots.

WPARAM KeyCodeOf(const std::string& name) {
    static const std::pair<const char*, WPARAM> kNames[] = {
        {"left", keys::kLeft},     {"right", keys::kRight},       {"up", keys::kUp},
        {"down", keys::kDown},     {"pageup", keys::kPageUp},     {"pagedown", keys::kPageDown},
        {"home", keys::kHome},     {"end", keys::kEnd},           {"escape", keys::kEscape},
        {"shift", keys::kShift},
    };
    for (const auto& [text, code] : kNames) {
        if (name == text) return code;
    }
    if (name.size() == 1 && std::isalpha(static_cast<unsigned char>(name[0])))
        return static_cast<WPARAM>(std::toupper(static_cast<unsigned char>(name[0])));
    return 0;
}

std::vector<ScriptStep> ReadScript(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw UsageError("cannot read the script '" + path + "'");
    std::vector<ScriptStep> steps;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::istringstream words(line);
        ScriptStep step;
        if (!(words >> step.verb) || step.verb[0] == '#') continue;
        const std::string& v = step.verb;
        bool ok = true;
        if (v == "key" || v == "keydown" || v == "keyup") {
            ok = static_cast<bool>(words >> step.word) && KeyCodeOf(step.word) != 0;
        } else if (v == "char" || v == "shot") {
            ok = static_cast<bool>(words >> step.word);
        } else if (v == "move" || v == "press" || v == "release" || v == "resize") {
            ok = static_cast<bool>(words >> step.x >> step.y);
        } else if (v == "wheel" || v == "hbar" || v == "vbar") {
            ok = static_cast<bool>(words >> step.x);
        } else {
            ok = v == "quit";
        }
        if (!ok) throw UsageError(path + ":" + std::to_string(number) + ": cannot read '" + line + "'");
        steps.push_back(std::move(step));
    }
    return steps;
}

void WritePpm(const std::string& path, const uint32_t* pixels, int width, int height, int stride) {
    std::ofstream out(path, std::ios::binary);
    out << "P6\n" << width << " " << height << "\n255\n";
    std::vector<char> row(static_cast<size_t>(width) * 3);
    for (int y = 0; y < height; ++y) {
        const uint32_t* from = pixels + static_cast<size_t>(y) * static_cast<size_t>(stride);
        for (int x = 0; x < width; ++x) {
            row[size_t(x) * 3 + 0] = static_cast<char>(from[x] >> 16);
            row[size_t(x) * 3 + 1] = static_cast<char>(from[x] >> 8);
            row[size_t(x) * 3 + 2] = static_cast<char>(from[x]);
        }
        out.write(row.data(), static_cast<std::streamsize>(row.size()));
    }
    if (!out) throw OperationFailed("cannot write the screenshot '" + path + "'");
}

// ------------------------------------------------------------------------------------------
// The command.

int RunView(const std::vector<std::string>& args) {
    std::string file, scriptPath;
    int page = 1;
    long maxWidth = 1024, maxHeight = 768;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if (arg == "--help" || arg == "-h") {
            std::cout << kViewHelp;
            return kExitSuccess;
        } else if (arg == "--page" && hasValue) {
            page = static_cast<int>(ParseNumber(args[++i], "--page", 1, 65535));
        } else if (arg == "--size" && hasValue) {
            std::tie(maxWidth, maxHeight) = ParsePair(args[++i], "--size", 16, 16384);
        } else if (arg == "--script" && hasValue) {
            scriptPath = args[++i];
        } else if (arg.rfind("--", 0) == 0) {
            throw UsageError("unknown option '" + arg + "' of view");
        } else if (file.empty()) {
            file = arg;
        } else {
            throw UsageError("view shows one file");
        }
    }
    if (file.empty()) throw UsageError("name the file to view");
    const std::vector<ScriptStep> script = scriptPath.empty() ? std::vector<ScriptStep>{} : ReadScript(scriptPath);
    Dib image = LoadImageFile(file, page);
    const std::string name = file.substr(file.find_last_of("/\\") + 1);
    Viewer viewer(std::move(image), name);
    return RunViewHost(viewer, script, static_cast<int>(maxWidth), static_cast<int>(maxHeight));
}

}  // namespace vexora_tool
