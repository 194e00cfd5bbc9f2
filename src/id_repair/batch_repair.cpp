#include "id_repair/batch_repair.h"

#include "db/odbc_transaction.h"
#include "db/sql_text.h"
#include "id_repair/role_repair.h"
#include "text/text.h"

namespace {

constexpr TransactionTexts kTexts = {"无法开启统一修复 SQL 事务", "统一角色/行会修复事务提交失败"};

// What differs between characters and guilds.
struct Kind {
    std::int64_t (*countRows)(SQLHDBC, const std::wstring&, const std::wstring&, bool);
    std::wstring_view notUnique;
    std::wstring_view wrongState;
    std::wstring_view stillReferenced;
};
constexpr Kind kRole = {CountCharacterIdRows, L"事务内复核失败，角色旧 ID 记录数不是 1：",
                        L"事务内校验失败，角色旧/新 ID 状态异常：",
                        L"事务内校验失败，仍有角色旧 ID 关联数据："};
constexpr Kind kGuild = {CountGuildIdRows, L"事务内复核失败，行会旧 ID 记录数不是 1：",
                         L"事务内校验失败，行会旧/新 ID 状态异常：",
                         L"事务内校验失败，仍有行会旧 ID 关联数据："};

const std::wstring& OldIdOf(const RoleRepairPlan& plan) noexcept {
    return plan.role.userId;
}
const std::wstring& OldIdOf(const GuildRepairPlan& plan) noexcept {
    return plan.guild.guildId;
}

std::wstring Message(std::wstring_view text, const std::wstring& oldId) {
    return std::wstring(text) + oldId;
}

// The statements of all phases: locked count, updates, two counts, one check per field.
template <class Plan>
size_t StatementCount(const std::vector<Plan>& plans) noexcept {
    size_t count = 3 * plans.size();
    for (const Plan& plan : plans) count += 2 * plan.fields.size();
    return count;
}

template <class Plan>
void UpdateAll(SQLHDBC connection, const std::wstring& database, const Kind& kind,
               const std::vector<Plan>& plans, Progress& progress) {
    for (const Plan& plan : plans) {
        const std::wstring& oldId = OldIdOf(plan);
        if (kind.countRows(connection, database, oldId, true) != 1)
            throw RuntimeError(Message(kind.notUnique, oldId));
        progress.Step();
        ReplaceId(connection, database, plan.fields, oldId, plan.newId, progress);
    }
}

template <class Plan>
void VerifyAll(SQLHDBC connection, const std::wstring& database, const Kind& kind,
               const std::vector<Plan>& plans, Progress& progress) {
    const auto count = [&](const std::wstring& id) {
        const std::int64_t rows = kind.countRows(connection, database, id, false);
        progress.Step();
        return rows;
    };
    for (const Plan& plan : plans) {
        const std::wstring& oldId = OldIdOf(plan);
        if (count(oldId) != 0 || count(plan.newId) != 1) throw RuntimeError(Message(kind.wrongState, oldId));
        RequireNoReference(connection, database, plan.fields, oldId, Message(kind.stillReferenced, oldId),
                           progress);
    }
}

}  // namespace

void RepairAllDuplicates(SQLHDBC connection, const std::wstring& targetDatabase,
                         const std::vector<RoleRepairPlan>& rolePlans,
                         const std::vector<GuildRepairPlan>& guildPlans, const ProgressObserver& observer) {
    if (rolePlans.empty() && guildPlans.empty()) return;
    QuoteSqlIdentifier(targetDatabase);  // a name that cannot be quoted is refused before the transaction
    Progress progress(observer, StatementCount(rolePlans) + StatementCount(guildPlans));
    RunInTransaction(connection, kTexts, [&] {
        UpdateAll(connection, targetDatabase, kRole, rolePlans, progress);
        UpdateAll(connection, targetDatabase, kGuild, guildPlans, progress);
        VerifyAll(connection, targetDatabase, kRole, rolePlans, progress);
        VerifyAll(connection, targetDatabase, kGuild, guildPlans, progress);
    });
}
