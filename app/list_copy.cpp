#include "app/list_copy.h"

// after windows.h, which it needs
#include <commctrl.h>

#include <cstring>
#include <string>

#include "text/owner.h"

namespace {

struct GlobalMemoryTrait {
    using Handle = HGLOBAL;
    static constexpr Handle kNone = nullptr;
    static void Close(Handle handle) noexcept { GlobalFree(handle); }
};

std::wstring RowText(HWND list, int row) {
    constexpr int kUnits = 1024;
    wchar_t cell[kUnits];
    std::wstring text;
    const int columns = Header_GetItemCount(ListView_GetHeader(list));
    for (int column = 0; column < columns; ++column) {
        LVITEMW item = {};
        item.iSubItem = column;
        item.pszText = cell;
        item.cchTextMax = kUnits;
        const LRESULT length =
            SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
        if (column > 0) text += L'\t';
        text.append(cell, static_cast<size_t>(length));
    }
    return text;
}

// Programs that watch the clipboard open it briefly after every change, hence several attempts.
bool OpenForOwner(HWND owner) noexcept {
    constexpr int kAttempts = 10;
    constexpr DWORD kPauseMilliseconds = 10;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        if (OpenClipboard(owner)) return true;
        Sleep(kPauseMilliseconds);
    }
    return false;
}

void PutOnClipboard(HWND owner, const std::wstring& text) {
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    Owner<GlobalMemoryTrait> memory(GlobalAlloc(GMEM_MOVEABLE, bytes));
    void* const target = memory ? GlobalLock(memory.Get()) : nullptr;
    if (!target) return;
    std::memcpy(target, text.c_str(), bytes);
    GlobalUnlock(memory.Get());
    if (!OpenForOwner(owner)) return;
    EmptyClipboard();
    // On success the memory belongs to the clipboard.
    if (SetClipboardData(CF_UNICODETEXT, memory.Get())) memory.Release();
    CloseClipboard();
}

}  // namespace

void CopySelectedRow(HWND list) {
    const int row = ListView_GetNextItem(list, -1, LVNI_SELECTED);
    if (row >= 0) PutOnClipboard(list, RowText(list, row));
}
