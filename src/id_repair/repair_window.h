#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/framed_window.h"
#include "db/odbc_session.h"
#include "id_repair/duplicate_ids.h"
#include "id_repair/open_repair_window.h"
#include "id_repair/progress.h"
#include "id_repair/related_fields.h"
#include "id_repair/repair_form.h"

/// The role / guild ID repair window. Detection and analysis only read; the two repairs write to the chosen
/// target database after a confirmation whose default answer is No. Controls, form and lists are in
/// repair_window.cpp, the four actions in repair_actions.cpp.
class RepairWindow : public FramedWindow {
public:
    /// @param params   the form's initial values; released once they are in the edit boxes.
    /// @param taskbar  of the program; must outlive the window.
    RepairWindow(std::unique_ptr<RepairWindowParams> params, TaskbarProgress& taskbar) noexcept;

    /// Creates and shows the window.
    /// @return false when it could not be created.
    bool Open(HWND queryWindow);

private:
    void OnCreate() override;
    void Layout(int width, int height) override;
    bool OnCommand(int controlId) override;
    void OnNotify(const NMHDR& header) override;
    void OnDestroy() override { Taskbar().Clear(); }
    void OnDetached() override;

    void FillForm();
    RepairConnectionForm ReadRepairForm() const;
    RepairDirection ReadDirection(const RepairConnectionForm& form) const;
    int SelectedDuplicateIndex() const;
    void OnRoleSelected();
    void FillDuplicateRoleList();
    void FillDuplicateGuildList();
    void FillTargetCombo(const RepairConnectionForm& form);
    void FillFieldList(const std::vector<RelatedField>& fields);
    void ClearFieldList();
    void SetText(int controlId, const std::wstring& text);

    void OnDetectDuplicates();
    void OnAnalyzeSelected();
    void OnRepairSelected();
    void OnRepairAll();

    void RepairRole(const RepairConnectionForm& form, const std::wstring& oldId);
    void RepairAll(const RepairConnectionForm& form);
    bool Confirm(const std::wstring& question, const wchar_t* title);
    void Announce(const wchar_t* text, const wchar_t* title);
    void RunAction(const wchar_t* failurePrefix, const std::function<void()>& action);
    ProgressObserver ShowProgress() const;

    std::unique_ptr<RepairWindowParams> params_;
    DuplicateRoles duplicateRoles_;  // row i of the list is element i
    std::vector<DuplicateGuild> duplicateGuilds_;
};
