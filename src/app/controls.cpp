#include "app/controls.h"

// after windows.h, which it needs
#include <commctrl.h>

#include <algorithm>

namespace {

struct KindTraits {
    const wchar_t* windowClass;
    DWORD style;
    DWORD exStyle;
};

KindTraits TraitsOf(ControlKind kind) noexcept {
    switch (kind) {
        case ControlKind::Label:
            return {WC_STATICW, SS_LEFTNOWORDWRAP, 0};
        case ControlKind::Edit:
            return {WC_EDITW, ES_AUTOHSCROLL, WS_EX_CLIENTEDGE};
        case ControlKind::ReadOnlyEdit:
            return {WC_EDITW, ES_AUTOHSCROLL | ES_READONLY, WS_EX_CLIENTEDGE};
        case ControlKind::NumberEdit:
            return {WC_EDITW, ES_AUTOHSCROLL | ES_NUMBER, WS_EX_CLIENTEDGE};
        case ControlKind::PasswordEdit:
            return {WC_EDITW, ES_AUTOHSCROLL | ES_PASSWORD, WS_EX_CLIENTEDGE};
        case ControlKind::Button:
            return {WC_BUTTONW, BS_PUSHBUTTON, 0};
        case ControlKind::Combo:
            return {WC_COMBOBOXW, CBS_DROPDOWNLIST | WS_VSCROLL, 0};
        case ControlKind::FramedCombo:
            return {WC_COMBOBOXW, CBS_DROPDOWNLIST | WS_VSCROLL, WS_EX_CLIENTEDGE};
        case ControlKind::List:
            return {WC_LISTVIEWW, LVS_REPORT | LVS_SINGLESEL, WS_EX_CLIENTEDGE};
        case ControlKind::Status:
            return {WC_STATICW, SS_LEFT, 0};
    }
    return {};
}

ControlPlace PlaceOf(int id, std::span<const ControlPlace> places) noexcept {
    const auto place = std::find_if(places.begin(), places.end(),
                                    [id](const ControlPlace& candidate) { return candidate.id == id; });
    return place == places.end() ? ControlPlace{} : *place;
}

bool IsEdit(ControlKind kind) noexcept {
    return kind == ControlKind::Edit || kind == ControlKind::ReadOnlyEdit ||
           kind == ControlKind::NumberEdit || kind == ControlKind::PasswordEdit;
}

// Ctrl+A selects everything, which older systems' edit boxes do not do by themselves (they beep).
LRESULT CALLBACK EditProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR, DWORD_PTR) {
    constexpr WPARAM kControlA = 1;
    if (message == WM_CHAR && wParam == kControlA) {
        SendMessageW(edit, EM_SETSEL, 0, -1);
        return 0;
    }
    if (message == WM_NCDESTROY) RemoveWindowSubclass(edit, EditProcedure, 0);
    return DefSubclassProc(edit, message, wParam, lParam);
}

// On the character, not on the key: the Enter that ends a word of an input method never arrives here. A key
// held down presses once; an edit box left to itself would beep.
LRESULT CALLBACK EnterProcedure(HWND edit, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR,
                                DWORD_PTR buttonId) {
    if (message == WM_NCDESTROY) RemoveWindowSubclass(edit, EnterProcedure, 0);
    if (message != WM_CHAR || wParam != L'\r') return DefSubclassProc(edit, message, wParam, lParam);
    const HWND window = GetParent(edit);
    const HWND button = GetDlgItem(window, static_cast<int>(buttonId));
    const bool heldDown = (HIWORD(lParam) & KF_REPEAT) != 0;
    if (IsWindowEnabled(button) && !heldDown) {
        SendMessageW(window, WM_COMMAND, MAKEWPARAM(buttonId, BN_CLICKED), reinterpret_cast<LPARAM>(button));
    }
    return 0;
}

}  // namespace

void CreateControls(HWND parent, std::span<const ControlSpec> specs, std::span<const ControlPlace> places,
                    HFONT font) {
    const auto instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(parent, GWLP_HINSTANCE));
    for (const ControlSpec& spec : specs) {
        const KindTraits traits = TraitsOf(spec.kind);
        const ControlPlace place = PlaceOf(spec.id, places);
        const HWND control = CreateWindowExW(
            traits.exStyle, traits.windowClass, spec.text, WS_CHILD | WS_VISIBLE | traits.style, place.x,
            place.y, place.width, place.height, parent,
            reinterpret_cast<HMENU>(static_cast<INT_PTR>(spec.id)), instance, nullptr);
        SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
        if (IsEdit(spec.kind)) SetWindowSubclass(control, EditProcedure, 0, 0);
    }
}

void PlaceControls(HWND parent, std::span<const ControlPlace> places) {
    for (const ControlPlace& place : places) {
        MoveWindow(GetDlgItem(parent, place.id), place.x, place.y, place.width, place.height, TRUE);
    }
}

void PressOnEnter(HWND edit, int buttonId) {
    SetWindowSubclass(edit, EnterProcedure, 0, static_cast<DWORD_PTR>(buttonId));
}

std::wstring ControlText(HWND control) {
    return ControlText(control, static_cast<size_t>(GetWindowTextLengthW(control)));
}

std::wstring ControlText(HWND control, size_t mostUnits) {
    std::wstring text(mostUnits, L'\0');
    // The count includes the terminator, which has its place after the string's end.
    const int length = GetWindowTextW(control, text.data(), static_cast<int>(mostUnits) + 1);
    text.resize(static_cast<size_t>(length));
    return text;
}

void SetUpList(HWND list, std::span<const ListColumn> columns) {
    ListView_SetExtendedListViewStyle(list, LVS_EX_GRIDLINES | LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    int index = 0;
    for (const ListColumn& column : columns) {
        LVCOLUMNW data = {};
        data.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        data.pszText = const_cast<wchar_t*>(column.title);  // the control copies it
        data.cx = column.width;
        data.iSubItem = index;
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(index++), reinterpret_cast<LPARAM>(&data));
    }
}

ListRefill::ListRefill(HWND list, size_t rowCount) : list_(list) {
    SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    SendMessageW(list_, LVM_DELETEALLITEMS, 0, 0);
    if (rowCount > 0) SendMessageW(list_, LVM_SETITEMCOUNT, rowCount, 0);
}

ListRefill::~ListRefill() {
    SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list_, nullptr, TRUE);
}

void ListRefill::Append(std::span<const wchar_t* const> texts) {
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    item.iItem = rows_++;
    for (const wchar_t* text : texts) {
        item.pszText = const_cast<wchar_t*>(text);  // the control copies it
        const UINT message = item.iSubItem == 0 ? LVM_INSERTITEMW : LVM_SETITEMW;
        SendMessageW(list_, message, 0, reinterpret_cast<LPARAM>(&item));
        ++item.iSubItem;
    }
}

DisabledButtons::DisabledButtons(HWND parent, std::span<const int> ids) : parent_(parent), ids_(ids) {
    for (const int id : ids_) EnableWindow(GetDlgItem(parent_, id), FALSE);
}

void DisabledButtons::Enable() noexcept {
    for (const int id : ids_) EnableWindow(GetDlgItem(parent_, id), TRUE);
    ids_ = {};
}
