#include "app/controls.h"
#include "app/stale_input.h"
#include "id_repair/batch_repair.h"
#include "id_repair/new_ids.h"
#include "id_repair/repair_layout.h"
#include "id_repair/repair_texts.h"
#include "id_repair/repair_window.h"
#include "id_repair/role_analysis.h"
#include "id_repair/role_id.h"
#include "id_repair/role_repair.h"
#include "text/text.h"

namespace {

constexpr int kAllActions[] = {kDetectButton, kRepairAllButton, kAnalyzeButton, kRepairButton};
constexpr int kAnalysisActions[] = {kRepairAllButton, kAnalyzeButton, kRepairButton};

constexpr wchar_t kAnalysisDatabase[] = L"master";

OdbcSession Connect(const RepairConnectionForm& form, const std::wstring& database) {
    OdbcSession session;
    session.Connect({form.server, form.port, form.user, form.password, database, std::wstring()});
    return session;
}

}  // namespace

void RepairWindow::RunAction(const wchar_t* failurePrefix, const std::function<void()>& action) {
    Taskbar().Start(Handle());
    try {
        action();
        Taskbar().Finish();
    } catch (const std::exception& error) {
        ShowStatus(failurePrefix + Utf8ToWide(error.what()));
        Taskbar().Fail();
    }
}

ProgressObserver RepairWindow::ShowProgress() const {
    return [this](size_t done, size_t total) { Taskbar().Measure(done, total); };
}

bool RepairWindow::Confirm(const std::wstring& question, const wchar_t* title) {
    constexpr UINT kNoByDefault = MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2;
    const ShownCursor answering(IDC_ARROW);
    Taskbar().Finish();
    if (ShowMessageBox(Handle(), question.c_str(), title, kNoByDefault) != IDYES) return false;
    Taskbar().Start(Handle());
    return true;
}

void RepairWindow::Announce(const wchar_t* text, const wchar_t* title) {
    const ShownCursor answering(IDC_ARROW);
    Taskbar().Finish();
    ShowMessageBox(Handle(), text, title, MB_ICONINFORMATION);
}

void RepairWindow::OnDetectDuplicates() {
    RunAction(L"检测失败：", [this] {
        const RepairConnectionForm form = ReadRepairForm();
        ShowStatus(L"正在连接并分析两个数据库，请稍候...");
        const ShownCursor waiting(IDC_WAIT);
        const DisabledButtons disabled(Handle(), kAllActions);
        const OdbcSession session = Connect(form, kAnalysisDatabase);
        duplicateRoles_ = FindDuplicateRoles(session.Connection(), form.databaseA, form.databaseB);
        duplicateGuilds_ = FindDuplicateGuilds(session.Connection(), form.databaseA, form.databaseB);
        FillTargetCombo(form);
        FillDuplicateRoleList();
        FillDuplicateGuildList();
        ShowStatus(DetectionSummary(duplicateRoles_.size(), duplicateGuilds_.size()));
    });
}

void RepairWindow::OnAnalyzeSelected() {
    const int index = SelectedDuplicateIndex();
    if (index < 0) return ShowStatus(L"请先在重复列表中选择一个角色。");
    RunAction(L"分析失败：", [this, index] {
        const RepairConnectionForm form = ReadRepairForm();
        const RepairDirection direction = ReadDirection(form);
        const std::wstring oldId = duplicateRoles_[static_cast<size_t>(index)].userId;
        ShowStatus(L"正在分析目标库中这个角色的关联字段...");
        const ShownCursor waiting(IDC_WAIT);
        const DisabledButtons disabled(Handle(), kAnalysisActions);
        const OdbcSession session = Connect(form, kAnalysisDatabase);
        const RoleIdAnalysis analysis =
            AnalyzeRoleId(session.Connection(), direction.target, direction.other, oldId);
        FillFieldList(analysis.fields);
        SetText(kSelectedIdEdit, oldId);
        SetText(kNewIdEdit, analysis.suggestedId);
        ShowStatus(AnalysisSummary(analysis.fields));
    });
}

void RepairWindow::OnRepairSelected() {
    const int index = SelectedDuplicateIndex();
    if (index < 0) return ShowStatus(L"请先在重复列表中选择一个角色。");
    const std::wstring oldId = duplicateRoles_[static_cast<size_t>(index)].userId;
    RunAction(L"修复失败，已尝试回滚：", [this, &oldId] { RepairRole(ReadRepairForm(), oldId); });
}

void RepairWindow::RepairRole(const RepairConnectionForm& form, const std::wstring& oldId) {
    const auto [target, other] = ReadDirection(form);
    const std::wstring newId = ControlText(Control(kNewIdEdit));
    RequireRoleId(newId, L"新角色唯一 ID");
    if (newId == oldId) throw RuntimeError("新旧角色唯一 ID 不能相同");
    const ShownCursor waiting(IDC_WAIT);
    const OdbcSession session = Connect(form, kAnalysisDatabase);
    const RoleIdAnalysis analysis = AnalyzeRoleId(session.Connection(), target, other, oldId);
    CheckNewRoleIdFree(session.Connection(), ListDatabases(session.Connection()), newId);
    if (!Confirm(RepairQuestion(target, oldId, newId, analysis.fields), L"确认修复角色唯一 ID")) {
        return ShowStatus(L"已取消修复，数据库未修改。");
    }
    ShowStatus(L"正在事务中修复，请不要关闭窗口...");
    DisabledButtons disabled(Handle(), kAllActions);
    const OdbcSession repairSession = Connect(form, target);
    RepairRoleId(repairSession.Connection(), target, oldId, newId, analysis.fields, ShowProgress());
    Announce(L"修复完成，事务已提交。建议重新检测两个数据库确认重复 ID 已消失。", L"修复完成");
    ShowStatus(RepairDone(target, oldId, newId));
    disabled.Enable();
    OnDetectDuplicates();
}

void RepairWindow::OnRepairAll() {
    if (duplicateRoles_.empty() && duplicateGuilds_.empty()) {
        return ShowStatus(L"请先点击“检测重复唯一 ID”，当前没有可批量修复的角色或行会记录。");
    }
    RunAction(L"批量修复失败，已尝试回滚：", [this] { RepairAll(ReadRepairForm()); });
}

void RepairWindow::RepairAll(const RepairConnectionForm& form) {
    const auto [target, other] = ReadDirection(form);
    ShowStatus(L"正在自动分析所有重复角色及关联字段，请稍候...");
    const ShownCursor waiting(IDC_WAIT);
    DisabledButtons disabled(Handle(), kAllActions);
    const OdbcSession session = Connect(form, kAnalysisDatabase);
    const size_t roles = duplicateRoles_.size();
    const ProgressObserver shown = ShowProgress();
    Progress planned(shown, roles + duplicateGuilds_.size());
    const std::vector<RoleRepairPlan> rolePlans =
        PlanRoleIdBatch(session.Connection(), target, other, duplicateRoles_.ToVector(),
                        [&](size_t done, size_t) { planned.Reach(done); });
    const std::vector<GuildRepairPlan> guildPlans =
        PlanGuildIdBatch(session.Connection(), target, other, duplicateGuilds_,
                         [&](size_t done, size_t) { planned.Reach(roles + done); });
    if (!Confirm(BatchQuestion(target, rolePlans, guildPlans), L"确认批量修复全部重复 ID")) {
        return ShowStatus(L"已取消批量修复，数据库未修改。");
    }
    ShowStatus(L"正在事务中批量修复，请不要关闭窗口...");
    const OdbcSession repairSession = Connect(form, target);
    RepairAllDuplicates(repairSession.Connection(), target, rolePlans, guildPlans, ShowProgress());
    Announce(L"批量修复完成，事务已提交。程序将重新检测两个库。", L"批量修复完成");
    disabled.Enable();
    OnDetectDuplicates();
}
