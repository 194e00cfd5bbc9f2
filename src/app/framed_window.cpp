#include "app/framed_window.h"

#include <windowsx.h>

// after windows.h, which it needs
#include <commctrl.h>

#include <exception>

#include "app/caption.h"
#include "app/controls.h"
#include "app/list_copy.h"
#include "app/resource.h"
#include "app/stale_input.h"

namespace {

constexpr wchar_t kTitle[] = L"Velkor版合区ID重复查询工具";
constexpr DWORD kStyle =
    WS_POPUP | WS_CLIPCHILDREN | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX | WS_MAXIMIZEBOX;

constexpr wchar_t kCopyFailed[] = L"复制失败：剪贴板正被其他程序占用或内存不足，请稍后再试。";
constexpr wchar_t kCopied[] = L"已复制到剪贴板。";

}  // namespace

bool FramedWindow::Create(HINSTANCE instance, const wchar_t* windowClass, HWND owner, int width, int height) {
    WNDCLASSW registration = {};
    registration.lpfnWndProc = Procedure;
    registration.hInstance = instance;
    registration.hIcon = LoadIconW(instance, MAKEINTRESOURCEW(kAppIcon));
    registration.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    registration.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
    registration.lpszClassName = windowClass;
    RegisterClassW(&registration);
    return CreateWindowExW(0, windowClass, kTitle, kStyle, CW_USEDEFAULT, CW_USEDEFAULT, width, height, owner,
                           nullptr, instance, this) != nullptr;
}

void FramedWindow::ShowStatus(const std::wstring& text) {
    taskbar_.Clear();
    status_.Show(text);
}

LRESULT CALLBACK FramedWindow::Procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    auto* window = reinterpret_cast<FramedWindow*>(GetWindowLongPtrW(handle, GWLP_USERDATA));
    if (message == WM_NCCREATE) {
        window = static_cast<FramedWindow*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        window->handle_ = handle;
        SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(window));
    }
    if (!window) return DefWindowProcW(handle, message, wParam, lParam);
    try {
        const std::shared_ptr<FramedWindow> keptAlive = window->shared_from_this();
        if (message != WM_NCDESTROY) return window->OnMessage(message, wParam, lParam);
        SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
        window->handle_ = nullptr;
        window->OnDetached();
        return DefWindowProcW(handle, message, wParam, lParam);
    } catch (const std::exception&) {
        // No exception may leave a window procedure. Actions show their own errors; what arrives here is a
        // lack of memory, and a window that could not be built is not opened.
        return message == WM_CREATE ? -1 : 0;
    }
}

LRESULT FramedWindow::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (const std::optional<LRESULT> answer = OnFrameMessage(message, wParam, lParam)) return *answer;
    switch (message) {
        case WM_CREATE:
            OnWindowCreated();
            return 0;
        case WM_SIZE:
            OnSize(wParam);
            return 0;
        case WM_COMMAND:
            if (!OnCommand(LOWORD(wParam))) break;
            DropInputSoFar();
            return 0;
        case WM_NOTIFY:
            OnNotification(*reinterpret_cast<const NMHDR*>(lParam));
            return 0;
        case WM_DESTROY:
            fonts_.Delete();
            OnDestroy();
            return 0;
        default:
            break;
    }
    return DefWindowProcW(handle_, message, wParam, lParam);
}

std::optional<LRESULT> FramedWindow::OnFrameMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_NCHITTEST:
            return OnHitTest(lParam);
        case WM_NCLBUTTONDBLCLK:
            if (wParam != HTCAPTION) return std::nullopt;
            ToggleMaximized();
            return 0;
        case WM_LBUTTONUP:
            return OnRelease(lParam);
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {style_.smallestWindow.cx,
                                                                     style_.smallestWindow.cy};
            return 0;
        case WM_PAINT:
            return OnPaint();
        case WM_CTLCOLORSTATIC:
            return OnColourLabel(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
        default:
            return std::nullopt;
    }
}

std::optional<LRESULT> FramedWindow::OnHitTest(LPARAM screenPoint) const {
    POINT point = {GET_X_LPARAM(screenPoint), GET_Y_LPARAM(screenPoint)};
    ScreenToClient(handle_, &point);
    const int width = ClientSize().cx;
    if (IsDragArea(point.x, point.y, width)) return HTCAPTION;
    if (IsGlyphArea(point.x, point.y, width)) return HTCLIENT;
    return std::nullopt;
}

std::optional<LRESULT> FramedWindow::OnRelease(LPARAM clientPoint) {
    // The row is unsigned on purpose: a release above the client area (after dragging there) is ignored.
    const int x = GET_X_LPARAM(clientPoint);
    const int y = HIWORD(clientPoint);
    const int width = ClientSize().cx;
    if (!IsGlyphArea(x, y, width)) return std::nullopt;
    switch (CaptionActionAt(x, width)) {
        case CaptionAction::Minimize:
            ShowWindow(handle_, SW_MINIMIZE);
            break;
        case CaptionAction::ToggleMaximize:
            ToggleMaximized();
            break;
        case CaptionAction::Close:
            SendMessageW(handle_, WM_CLOSE, 0, 0);
            break;
        case CaptionAction::None:
            break;
    }
    return 0;
}

LRESULT FramedWindow::OnPaint() {
    PAINTSTRUCT paint;
    if (const HDC dc = BeginPaint(handle_, &paint)) {
        PaintFrame(handle_, dc, fonts_, style_);
        EndPaint(handle_, &paint);
    }
    return 0;
}

// Labels have the body's colour, not the system's dialog grey. A read-only edit box sends the same message
// and keeps the grey, which distinguishes it from the boxes that can be filled in.
LRESULT FramedWindow::OnColourLabel(HDC dc, HWND control) {
    if (SendMessageW(control, WM_GETDLGCODE, 0, 0) != DLGC_STATIC) {
        return DefWindowProcW(handle_, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                              reinterpret_cast<LPARAM>(control));
    }
    SetBkColor(dc, kBodyColour);
    SetDCBrushColor(dc, kBodyColour);
    return reinterpret_cast<LRESULT>(GetStockObject(DC_BRUSH));
}

void FramedWindow::OnWindowCreated() {
    fonts_.Create();
    OnCreate();
    placedFor_ = ClientSize();
    status_.Attach(handle_, Control(statusControl_));
    OnCreated();
}

void FramedWindow::OnNotification(const NMHDR& header) {
    const bool copies = header.code == LVN_KEYDOWN &&
                        reinterpret_cast<const NMLVKEYDOWN&>(header).wVKey == 'C' &&
                        GetKeyState(VK_CONTROL) < 0;
    if (!copies) return OnNotify(header);
    TellCopy(GetKeyState(VK_SHIFT) < 0 ? CopyAllRows(header.hwndFrom) : CopySelectedRow(header.hwndFrom));
}

// Whoever pastes sees that a copy worked; only a failure that is still told has to be taken back.
void FramedWindow::TellCopy(CopyResult result) {
    if (result == CopyResult::Failed) {
        ShowStatus(kCopyFailed);
    } else if (result == CopyResult::Copied && ControlText(Control(statusControl_)) == kCopyFailed) {
        ShowStatus(kCopied);
    }
}

void FramedWindow::OnSize(WPARAM kind) {
    if (kind == SIZE_MINIMIZED) return;  // nothing to see, and the client area is empty
    const SIZE client = ClientSize();
    if (client.cx != placedFor_.cx || client.cy != placedFor_.cy) {
        placedFor_ = client;
        Layout(client.cx, client.cy);
        status_.OnMoved();
    }
    // With the children: moving one copies its old pixels, and these may show a sibling that was moved before
    // it.
    RedrawWindow(handle_, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}

SIZE FramedWindow::ClientSize() const noexcept {
    RECT client;
    GetClientRect(handle_, &client);
    return {client.right, client.bottom};
}

void FramedWindow::ToggleMaximized() {
    ShowWindow(handle_, IsZoomed(handle_) ? SW_RESTORE : SW_MAXIMIZE);
}
