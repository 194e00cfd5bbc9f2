#include "id_repair/repair_window.h"

// after windows.h, which it needs
#include <commctrl.h>

#include "app/controls.h"
#include "id_repair/repair_layout.h"

namespace {

constexpr FrameStyle kFrame = {L"角色 / 行会 ID 修复", L"检测重复 ID，检查关联表，并在事务中完成统一修复",
                               L"数据库连接",          14,
                               RGB(90, 103, 116),      {1000, 860}};
constexpr SIZE kWindowSize = {1160, 860};

constexpr ControlSpec kControls[kRepairControlCount] = {
    {kServerLabel, ControlKind::Label, L"服务器："},
    {kServerEdit, ControlKind::Edit, L""},
    {kPortLabel, ControlKind::Label, L"端口："},
    {kPortEdit, ControlKind::NumberEdit, L"1433"},
    {kUserLabel, ControlKind::Label, L"用户："},
    {kUserEdit, ControlKind::Edit, L""},
    {kPasswordLabel, ControlKind::Label, L"密码："},
    {kPasswordEdit, ControlKind::PasswordEdit, L""},
    {kDatabaseALabel, ControlKind::Label, L"库 A："},
    {kDatabaseAEdit, ControlKind::Edit, L""},
    {kDatabaseBLabel, ControlKind::Label, L"库 B："},
    {kDatabaseBEdit, ControlKind::Edit, L""},
    {kDetectButton, ControlKind::Button, L"检测重复唯一 ID"},
    {kRepairAllButton, ControlKind::Button, L"自动修复全部重复 ID"},
    {kRoleList, ControlKind::List, L""},
    {kGuildList, ControlKind::List, L""},
    {kSelectedIdLabel, ControlKind::Label, L"选中 ID："},
    {kSelectedIdEdit, ControlKind::ReadOnlyEdit, L""},
    {kTargetLabel, ControlKind::Label, L"修复库："},
    {kTargetCombo, ControlKind::Combo, L""},
    {kNewIdLabel, ControlKind::Label, L"新 ID："},
    {kNewIdEdit, ControlKind::NumberEdit, L""},
    {kAnalyzeButton, ControlKind::Button, L"分析关联数据"},
    {kRepairButton, ControlKind::Button, L"执行修复"},
    {kFieldList, ControlKind::List, L""},
    {kRepairStatus, ControlKind::Label, L"默认只读；检测和分析不会修改数据库。"},
};

constexpr ListColumn kRoleColumns[] = {{L"重复唯一 ID", 210},
                                       {L"库 A 角色", 160},
                                       {L"库 B 角色", 160},
                                       {L"库 A 账号", 150},
                                       {L"库 B 账号", 150}};
constexpr ListColumn kGuildColumns[] = {{L"重复行会 ID", 280}, {L"库 A 行会", 220}, {L"库 B 行会", 220}};
constexpr ListColumn kFieldColumns[] = {{L"表", 260}, {L"字段", 180}, {L"类型", 100}, {L"命中行数", 100}};

// The one repair window of the program; null when none is open.
std::shared_ptr<RepairWindow> openWindow;

}  // namespace

void OpenRepairWindow(HWND queryWindow, const RepairWindowParams& params, TaskbarProgress& taskbar) {
    if (openWindow) {
        // It has no button in the taskbar, so nothing else would bring it back.
        if (IsIconic(openWindow->Handle())) ShowWindow(openWindow->Handle(), SW_RESTORE);
        SetForegroundWindow(openWindow->Handle());
        return;
    }
    openWindow = std::make_shared<RepairWindow>(std::make_unique<RepairWindowParams>(params), taskbar);
    if (!openWindow->Open(queryWindow)) openWindow.reset();
}

RepairWindow::RepairWindow(std::unique_ptr<RepairWindowParams> params, TaskbarProgress& taskbar) noexcept
    : FramedWindow(kFrame, kRepairStatus, taskbar), params_(std::move(params)) {}

bool RepairWindow::Open(HWND queryWindow) {
    const auto instance = reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(queryWindow, GWLP_HINSTANCE));
    if (!Create(instance, L"RoleIdRepairWindow", queryWindow, kWindowSize.cx, kWindowSize.cy)) return false;
    ShowWindow(Handle(), SW_SHOW);
    UpdateWindow(Handle());
    return true;
}

void RepairWindow::OnCreate() {
    CreateControls(Handle(), kControls, RepairLayout(ClientSize().cx), BodyFont());
    SetUpList(Control(kRoleList), kRoleColumns);
    SetUpList(Control(kGuildList), kGuildColumns);
    SetUpList(Control(kFieldList), kFieldColumns);
    FillForm();
}

void RepairWindow::FillForm() {
    SetText(kServerEdit, params_->server);
    SetText(kPortEdit, std::to_wstring(params_->port));
    SetText(kUserEdit, params_->user);
    SetText(kPasswordEdit, params_->password);
    SetText(kDatabaseAEdit, params_->database);
    params_.reset();
}

void RepairWindow::Layout(int width, int) {
    PlaceControls(Handle(), RepairLayout(width));
}

bool RepairWindow::OnCommand(int controlId) {
    switch (controlId) {
        case kDetectButton:
            OnDetectDuplicates();
            return true;
        case kAnalyzeButton:
            OnAnalyzeSelected();
            return true;
        case kRepairButton:
            OnRepairSelected();
            return true;
        case kRepairAllButton:
            OnRepairAll();
            return true;
        default:
            return false;
    }
}

void RepairWindow::OnNotify(const NMHDR& header) {
    if (header.idFrom != kRoleList || header.code != LVN_ITEMCHANGED) return;
    if (reinterpret_cast<const NMLISTVIEW&>(header).uNewState & LVIS_SELECTED) OnRoleSelected();
}

void RepairWindow::OnDetached() {
    if (openWindow.get() == this) openWindow.reset();
}

RepairConnectionForm RepairWindow::ReadRepairForm() const {
    const auto text = [this](int id) { return ControlText(Control(id)); };
    return CheckRepairForm({text(kServerEdit), text(kPortEdit), text(kUserEdit), text(kPasswordEdit),
                            text(kDatabaseAEdit), text(kDatabaseBEdit)});
}

RepairDirection RepairWindow::ReadDirection(const RepairConnectionForm& form) const {
    return ChooseDirection(form, static_cast<int>(SendMessageW(Control(kTargetCombo), CB_GETCURSEL, 0, 0)));
}

int RepairWindow::SelectedDuplicateIndex() const {
    const int index = ListView_GetNextItem(Control(kRoleList), -1, LVNI_SELECTED);
    // The list can show more rows than duplicateRoles_ has: a detection that failed after the roles has not
    // refilled the list.
    return index >= 0 && static_cast<size_t>(index) < duplicateRoles_.size() ? index : -1;
}

void RepairWindow::OnRoleSelected() {
    const int index = SelectedDuplicateIndex();
    if (index < 0) return;
    SetText(kSelectedIdEdit, duplicateRoles_[static_cast<size_t>(index)].userId);
    SetText(kNewIdEdit, L"");
    ClearFieldList();
    ShowStatus(L"已选择重复 ID，请点击“分析选中 ID”。");
}

void RepairWindow::FillDuplicateRoleList() {
    {
        ListFill rows(Control(kRoleList), kRoleColumns, duplicateRoles_.size());
        for (size_t i = 0; i < duplicateRoles_.size(); ++i) {
            const DuplicateRole role = duplicateRoles_[i];
            rows.AddRow({role.userId.c_str(), role.characterA.c_str(), role.characterB.c_str(),
                         role.accountA.c_str(), role.accountB.c_str()});
        }
    }
    SetText(kSelectedIdEdit, L"");
    SetText(kNewIdEdit, L"");
    ClearFieldList();
}

void RepairWindow::FillDuplicateGuildList() {
    ListFill rows(Control(kGuildList), kGuildColumns, duplicateGuilds_.size());
    for (const DuplicateGuild& guild : duplicateGuilds_) {
        rows.AddRow({guild.guildId.c_str(), guild.nameA.c_str(), guild.nameB.c_str()});
    }
}

void RepairWindow::FillTargetCombo(const RepairConnectionForm& form) {
    const HWND combo = Control(kTargetCombo);
    SendMessageW(combo, CB_RESETCONTENT, 0, 0);
    SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(form.databaseA.c_str()));
    SendMessageW(combo, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(form.databaseB.c_str()));
    SendMessageW(combo, CB_SETCURSEL, 0, 0);
}

void RepairWindow::FillFieldList(const std::vector<RelatedField>& fields) {
    ListFill rows(Control(kFieldList), kFieldColumns, fields.size());
    for (const RelatedField& field : fields) {
        rows.AddRow({(field.schema + L"." + field.table).c_str(), field.column.c_str(),
                     field.dataType.c_str(), std::to_wstring(field.hits).c_str()});
    }
}

void RepairWindow::ClearFieldList() {
    FillFieldList({});
}

void RepairWindow::SetText(int controlId, const std::wstring& text) {
    SetWindowTextW(Control(controlId), text.c_str());
}
