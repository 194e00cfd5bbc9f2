#include "app/list_copy.h"

// after windows.h, which it needs
#include <commctrl.h>

#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

#include "text/owner.h"

namespace {

struct GlobalMemoryTrait {
    using Handle = HGLOBAL;
    static constexpr Handle kNone = nullptr;
    static void Close(Handle handle) noexcept { GlobalFree(handle); }
};

using CellBuffer = wchar_t[1024];

std::wstring_view CellText(HWND list, int row, int column, CellBuffer& buffer) {
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = buffer;
    item.cchTextMax = static_cast<int>(std::size(buffer));
    const LRESULT length =
        SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    return {buffer, static_cast<size_t>(length)};
}

std::wstring_view TitleText(HWND list, int column, CellBuffer& buffer) {
    buffer[0] = L'\0';
    LVCOLUMNW data = {};
    data.mask = LVCF_TEXT;
    data.pszText = buffer;
    data.cchTextMax = static_cast<int>(std::size(buffer));
    SendMessageW(list, LVM_GETCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&data));
    return buffer;
}

int ColumnCount(HWND list) noexcept {
    return Header_GetItemCount(ListView_GetHeader(list));
}

std::wstring RowText(HWND list, int row) {
    CellBuffer buffer;
    std::wstring text;
    const int columns = ColumnCount(list);
    for (int column = 0; column < columns; ++column) {
        if (column > 0) text += L'\t';
        text += CellText(list, row, column, buffer);
    }
    return text;
}

// A tab or a line break would begin another cell. What begins with a quotation mark is read up to the next
// one, over the ends of cells and rows, unless it is quoted whole.
void AppendForSpreadsheet(std::wstring& text, std::wstring_view cell) {
    const bool quoted = cell.starts_with(L'"');
    if (quoted) text += L'"';
    for (const wchar_t unit : cell) {
        const bool separates = unit == L'\t' || unit == L'\r' || unit == L'\n';
        text += separates ? L' ' : unit;
        if (quoted && unit == L'"') text += L'"';
    }
    if (quoted) text += L'"';
}

std::wstring TableText(HWND list, int rows) {
    constexpr size_t kUsualCellUnits = 16;
    constexpr int kTitles = -1;
    const int columns = ColumnCount(list);
    CellBuffer buffer;
    std::wstring text;
    text.reserve(static_cast<size_t>(rows + 1) * static_cast<size_t>(columns) * kUsualCellUnits);
    for (int row = kTitles; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            if (column > 0) text += L'\t';
            AppendForSpreadsheet(
                text, row == kTitles ? TitleText(list, column, buffer) : CellText(list, row, column, buffer));
        }
        text += L"\r\n";
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

CopyResult PutOnClipboard(HWND owner, const std::wstring& text) {
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    // What can fail comes before the old content goes.
    Owner<GlobalMemoryTrait> memory(GlobalAlloc(GMEM_MOVEABLE, bytes));
    void* const target = memory ? GlobalLock(memory.Get()) : nullptr;
    if (!target) return CopyResult::Failed;
    std::memcpy(target, text.c_str(), bytes);
    GlobalUnlock(memory.Get());
    if (!OpenForOwner(owner)) return CopyResult::Failed;
    const bool copied = EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, memory.Get());
    if (copied) memory.Release();  // it belongs to the clipboard
    CloseClipboard();
    return copied ? CopyResult::Copied : CopyResult::Failed;
}

}  // namespace

CopyResult CopySelectedRow(HWND list) {
    const int row = ListView_GetNextItem(list, -1, LVNI_SELECTED);
    return row < 0 ? CopyResult::NothingToCopy : PutOnClipboard(list, RowText(list, row));
}

CopyResult CopyAllRows(HWND list) {
    const int rows = ListView_GetItemCount(list);
    return rows < 1 ? CopyResult::NothingToCopy : PutOnClipboard(list, TableText(list, rows));
}
