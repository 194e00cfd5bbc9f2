#include "id_repair/repair_texts.h"

namespace {

template <class Plan>
std::int64_t TotalHitsOf(const std::vector<Plan>& plans) noexcept {
    std::int64_t total = 0;
    for (const Plan& plan : plans) total += TotalHits(plan.fields);
    return total;
}

}  // namespace

std::wstring DetectionSummary(size_t roles, size_t guilds) {
    return L"分析完成：重复角色 " + std::to_wstring(roles) + L" 个，重复行会 " + std::to_wstring(guilds) +
           L" 个。默认未修改数据库。请选择目标库后可批量修复。";
}

std::wstring AnalysisSummary(const std::vector<RelatedField>& fields) {
    return L"目标库关联字段 " + std::to_wstring(fields.size()) + L" 个，命中总行数 " +
           std::to_wstring(TotalHits(fields)) + L"；建议新 ID 已填入，确认目标库后才可执行修复。";
}

std::wstring RepairQuestion(const std::wstring& target, const std::wstring& oldId, const std::wstring& newId,
                            const std::vector<RelatedField>& fields) {
    return L"即将修改数据库：" + target + L"\n旧 ID：" + oldId + L"\n新 ID：" + newId + L"\n关联字段：" +
           std::to_wstring(fields.size()) + L" 个，预计更新 " + std::to_wstring(TotalHits(fields)) +
           L" 行。\n\n此操作会写入数据库，确认继续吗？";
}

std::wstring BatchQuestion(const std::wstring& target, const std::vector<RoleRepairPlan>& rolePlans,
                           const std::vector<GuildRepairPlan>& guildPlans) {
    const std::int64_t hits = TotalHitsOf(rolePlans) + TotalHitsOf(guildPlans);
    return L"即将批量修复全部重复角色和行会 ID。\n\n目标库：" + target + L"\n重复角色数量：" +
           std::to_wstring(rolePlans.size()) + L"\n重复行会数量：" + std::to_wstring(guildPlans.size()) +
           L"\n关联字段命中行数：" + std::to_wstring(hits) +
           L"\n\n每个旧角色 ID 会生成新的数字 ID，每个旧行会 ID 会生成新的 GUID，\n"
           L"并在目标库的主表及关联字段中同步替换。\n"
           L"此操作会写入数据库，建议已停止对应 M2 并完成备份。\n\n确认继续吗？";
}

std::wstring RepairDone(const std::wstring& target, const std::wstring& oldId, const std::wstring& newId) {
    return L"修复完成：" + oldId + L" 已在 " + target + L" 改为 " + newId + L"。";
}
