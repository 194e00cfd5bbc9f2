#include "window_driver.h"

#include <commctrl.h>

#include <array>

#include "failure.h"

namespace desk {
namespace {

constexpr std::size_t kCellCapacity = 1024;

/// One value and a text buffer in the memory of the process that owns a window, for the common controls'
/// messages: Windows does not marshal their pointers between processes.
template <class T>
class RemoteBuffer {
public:
    explicit RemoteBuffer(HWND window) {
        process_ =
            OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, ProcessOf(window));
        if (!process_) Fail("cannot open the process of a list");
        block_ = static_cast<Block*>(
            VirtualAllocEx(process_, nullptr, sizeof(Block), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
        if (!block_) {
            CloseHandle(process_);
            Fail("no memory in the process of a list");
        }
    }
    ~RemoteBuffer() {
        VirtualFreeEx(process_, block_, 0, MEM_RELEASE);
        CloseHandle(process_);
    }
    RemoteBuffer(const RemoteBuffer&) = delete;
    RemoteBuffer& operator=(const RemoteBuffer&) = delete;

    LPARAM Address() const noexcept { return reinterpret_cast<LPARAM>(block_); }
    wchar_t* TextAddress() const noexcept { return block_->text; }

    void Write(const T& value) {
        if (!WriteProcessMemory(process_, &block_->value, &value, sizeof value, nullptr)) {
            Fail("cannot write to the process of a list");
        }
    }
    T Value() const {
        T value{};
        Read(&block_->value, &value, sizeof value);
        return value;
    }
    std::wstring Text() const {
        std::array<wchar_t, kCellCapacity> text{};
        Read(block_->text, text.data(), sizeof(wchar_t) * (kCellCapacity - 1));
        return text.data();
    }

private:
    struct Block {
        T value;
        wchar_t text[kCellCapacity];
    };

    void Read(const void* from, void* to, std::size_t size) const {
        if (!ReadProcessMemory(process_, from, to, size, nullptr)) {
            Fail("cannot read from the process of a list");
        }
    }

    HANDLE process_ = nullptr;
    Block* block_ = nullptr;
};

using RemoteItem = RemoteBuffer<LVITEMW>;

std::wstring CellText(HWND list, RemoteItem& remote, int row, int column) {
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = remote.TextAddress();
    item.cchTextMax = static_cast<int>(kCellCapacity);
    remote.Write(item);
    // Only for callback items may the control return a pointer of its own instead of filling the buffer.
    const LRESULT length = Send(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), remote.Address());
    return length > 0 ? remote.Text() : std::wstring{};
}

int ColumnCount(HWND list) {
    const auto header = reinterpret_cast<HWND>(Send(list, LVM_GETHEADER));
    return header ? static_cast<int>(Send(header, HDM_GETITEMCOUNT)) : 0;
}

void RequireRow(HWND list, int row) {
    if (row < 0 || row >= ListRowCount(list)) Fail("no list row " + std::to_string(row));
}

}  // namespace

std::vector<std::wstring> ComboItems(HWND combo) {
    const LRESULT count = Send(combo, CB_GETCOUNT);
    if (count < 0) Fail("no combo box: " + Describe(combo));
    std::vector<std::wstring> items(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < items.size(); ++i) {
        const LRESULT length = Send(combo, CB_GETLBTEXTLEN, i);
        if (length < 0) Fail("no text of a combo box item");
        std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
        Send(combo, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text.data()));
        text.resize(static_cast<std::size_t>(length));
        items[i] = std::move(text);
    }
    return items;
}

int ComboSelection(HWND combo) {
    return static_cast<int>(Send(combo, CB_GETCURSEL));
}

void ChooseComboItem(HWND combo, int index) {
    if (Send(combo, CB_SETCURSEL, static_cast<WPARAM>(index)) != index) {
        Fail("no combo box item " + std::to_string(index));
    }
    const auto id = static_cast<WORD>(GetDlgCtrlID(combo));
    Send(GetParent(combo), WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), reinterpret_cast<LPARAM>(combo));
}

std::vector<ListColumn> ListColumns(HWND list) {
    std::vector<ListColumn> columns(static_cast<std::size_t>(ColumnCount(list)));
    RemoteBuffer<LVCOLUMNW> remote(list);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH;
        column.pszText = remote.TextAddress();
        column.cchTextMax = static_cast<int>(kCellCapacity);
        remote.Write(column);
        if (!Send(list, LVM_GETCOLUMNW, i, remote.Address())) Fail("no list column");
        columns[i] = {remote.Text(), remote.Value().cx};
    }
    return columns;
}

int ListRowCount(HWND list) {
    return static_cast<int>(Send(list, LVM_GETITEMCOUNT));
}

std::vector<std::vector<std::wstring>> ListRows(HWND list) {
    const int columnCount = ColumnCount(list);
    std::vector<std::vector<std::wstring>> rows(static_cast<std::size_t>(ListRowCount(list)));
    RemoteItem remote(list);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (int column = 0; column < columnCount; ++column) {
            rows[row].push_back(CellText(list, remote, static_cast<int>(row), column));
        }
    }
    return rows;
}

void SelectListRow(HWND list, int row) {
    RequireRow(list, row);
    RemoteItem remote(list);
    LVITEMW item{};
    item.state = LVIS_SELECTED | LVIS_FOCUSED;
    item.stateMask = item.state;
    remote.Write(item);
    Send(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), remote.Address());
}

}  // namespace desk
