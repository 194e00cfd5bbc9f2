#pragma once

#include <windows.h>

#include <span>
#include <string>

#include "app/control_place.h"

/// The kinds of child controls, each with its window class and fixed styles.
enum class ControlKind {
    Label,
    Edit,
    ReadOnlyEdit,
    NumberEdit,
    PasswordEdit,
    Button,
    Combo,
    FramedCombo,
    List,
    Status
};

/// One row of a window's control table.
struct ControlSpec {
    int id;
    ControlKind kind;
    const wchar_t* text;
};

/// Creates the controls in table order as visible children with `font`, each at its place.
void CreateControls(HWND parent, std::span<const ControlSpec> specs, std::span<const ControlPlace> places,
                    HFONT font);

/// Moves every control to its place and repaints it.
void PlaceControls(HWND parent, std::span<const ControlPlace> places);

/// Lets Enter in an edit box press a button of the same window, when that is enabled; the box keeps the
/// keyboard.
void PressOnEnter(HWND edit, int buttonId);

/// A control's text, complete or at most its first `mostUnits` UTF-16 units.
std::wstring ControlText(HWND control);
std::wstring ControlText(HWND control, size_t mostUnits);

/// One column of a list view: its title and its width in pixels.
struct ListColumn {
    const wchar_t* title;
    int width;
};

/// Gives a list view grid lines, full-row selection, double buffering and its columns.
void SetUpList(HWND list, std::span<const ListColumn> columns);

/// Replaces the rows of a list view. Drawing is off from construction to destruction, so that a long list is
/// laid out and painted once.
class ListRefill {
public:
    /// Deletes all rows and announces `rowCount` new ones.
    ListRefill(HWND list, size_t rowCount);
    ~ListRefill();
    ListRefill(const ListRefill&) = delete;
    ListRefill& operator=(const ListRefill&) = delete;

    /// Appends a row that has a text in its first column alone.
    void AddMessage(const wchar_t* text) { Append({&text, 1}); }

protected:
    void Append(std::span<const wchar_t* const> texts);

private:
    HWND list_;
    int rows_ = 0;
};

/// The same for a list with these columns: a row has a text for each, or does not compile.
template <size_t kColumns>
class ListFill : public ListRefill {
public:
    ListFill(HWND list, const ListColumn (&)[kColumns], size_t rowCount) : ListRefill(list, rowCount) {}

    /// Appends a row with the texts of its columns from the left.
    template <size_t kTexts>
    void AddRow(const wchar_t* const (&texts)[kTexts]) {
        static_assert(kTexts == kColumns, "a row has a text for each column of its list");
        Append(texts);
    }
};

/// Disables buttons, and enables them again at the end of its scope.
class DisabledButtons {
public:
    /// `ids` must outlive the object.
    DisabledButtons(HWND parent, std::span<const int> ids);
    ~DisabledButtons() { Enable(); }
    DisabledButtons(const DisabledButtons&) = delete;
    DisabledButtons& operator=(const DisabledButtons&) = delete;

    /// Enables the buttons before the end of the scope; does nothing the second time.
    void Enable() noexcept;

private:
    HWND parent_;
    std::span<const int> ids_;
};

/// Shows one of the system's cursors (IDC_WAIT while an action runs) and restores the previous one at the end
/// of its scope.
class ShownCursor {
public:
    explicit ShownCursor(const wchar_t* systemCursor) noexcept
        : previous_(SetCursor(LoadCursorW(nullptr, systemCursor))) {}
    ~ShownCursor() { SetCursor(previous_); }
    ShownCursor(const ShownCursor&) = delete;
    ShownCursor& operator=(const ShownCursor&) = delete;

private:
    HCURSOR previous_;
};
