#include "id_repair/new_ids.h"

#include <windows.h>

// after windows.h, which it needs
#include <objbase.h>

#include <algorithm>

#include "db/odbc_statement.h"
#include "id_repair/role_id.h"
#include "text/text.h"

namespace {

using CountRows = std::int64_t (*)(SQLHDBC, const std::wstring&, const std::wstring&, bool);

void RequireOneRowEach(SQLHDBC connection, CountRows countRows, const std::wstring& target,
                       const std::wstring& other, const std::wstring& id, std::wstring_view message) {
    const std::int64_t inTarget = countRows(connection, target, id, false);
    const std::int64_t inOther = countRows(connection, other, id, false);
    if (inTarget != 1 || inOther != 1) throw RuntimeError(std::wstring(message) + id);
}

void RequireUnused(SQLHDBC connection, CountRows countRows, const std::vector<std::wstring>& databases,
                   const std::wstring& newId, std::wstring_view message) {
    for (const std::wstring& database : databases) {
        if (countRows(connection, database, newId, false) > 0)
            throw RuntimeError(std::wstring(message) + database);
    }
}

std::uint64_t FirstBatchId(SQLHDBC connection, const std::vector<std::wstring>& databases) {
    const std::wstring start = NextRoleIdAfterMax(connection, databases);
    try {
        return std::stoull(start);
    } catch (const std::logic_error&) {
        throw RuntimeError("无法生成批量修复使用的新角色 ID");
    }
}

std::wstring NewGuildId() {
    constexpr int kUnits = 40;  // 38 characters and the terminator
    GUID guid;
    if (FAILED(CoCreateGuid(&guid))) throw RuntimeError("无法生成新的行会 GUID");
    wchar_t text[kUnits];
    if (StringFromGUID2(guid, text, kUnits) < 1) throw RuntimeError("无法格式化新的行会 GUID");
    return text;
}

}  // namespace

std::wstring NextRoleIdAfterMax(SQLHDBC connection, const std::vector<std::wstring>& databases) {
    std::int64_t largest = 0;
    for (const std::wstring& database : databases) {
        largest = std::max(largest, QueryInt64(connection, LargestRoleIdSql(database)));
    }
    return std::to_wstring(static_cast<std::uint64_t>(largest) + 1);
}

void CheckNewRoleIdFree(SQLHDBC connection, const std::vector<std::wstring>& databases,
                        const std::wstring& newId) {
    RequireRoleId(newId, L"新角色唯一 ID");
    RequireUnused(connection, CountCharacterIdRows, databases, newId, L"新 ID 已存在于数据库：");
}

std::vector<RoleRepairPlan> PlanRoleIdBatch(SQLHDBC connection, const std::wstring& targetDatabase,
                                            const std::wstring& otherDatabase,
                                            const std::vector<DuplicateRole>& duplicates,
                                            const ProgressObserver& observer) {
    std::vector<RoleRepairPlan> plans;
    if (duplicates.empty()) return plans;
    plans.reserve(duplicates.size());
    Progress progress(observer, duplicates.size());
    const std::vector<std::wstring> databases = ListDatabases(connection);
    std::uint64_t nextId = FirstBatchId(connection, databases);
    for (const DuplicateRole& role : duplicates) {
        RequireRoleId(role.userId, L"旧角色唯一 ID");
        RequireOneRowEach(connection, CountCharacterIdRows, targetDatabase, otherDatabase, role.userId,
                          L"重复 ID 在两个库中不再各有且只有一条主表记录：");
        const std::wstring newId = std::to_wstring(nextId++);
        RequireRoleId(newId, L"批量生成的新角色唯一 ID");
        CheckNewRoleIdFree(connection, databases, newId);
        plans.push_back({role, newId, CountRoleIdHits(connection, targetDatabase, role.userId)});
        progress.Step();
    }
    return plans;
}

std::vector<GuildRepairPlan> PlanGuildIdBatch(SQLHDBC connection, const std::wstring& targetDatabase,
                                              const std::wstring& otherDatabase,
                                              const std::vector<DuplicateGuild>& duplicates,
                                              const ProgressObserver& observer) {
    std::vector<GuildRepairPlan> plans;
    if (duplicates.empty()) return plans;
    plans.reserve(duplicates.size());
    Progress progress(observer, duplicates.size());
    const std::vector<std::wstring> databases = ListDatabases(connection);
    for (const DuplicateGuild& guild : duplicates) {
        RequireOneRowEach(connection, CountGuildIdRows, targetDatabase, otherDatabase, guild.guildId,
                          L"重复行会 ID 在两个库中不再各有且只有一条主表记录：");
        const std::wstring newId = NewGuildId();
        RequireUnused(connection, CountGuildIdRows, databases, newId, L"新行会 ID 已存在于数据库：");
        plans.push_back({guild, newId, CountGuildIdHits(connection, targetDatabase, guild.guildId)});
        progress.Step();
    }
    return plans;
}
