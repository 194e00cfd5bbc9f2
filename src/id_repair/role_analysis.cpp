#include "id_repair/role_analysis.h"

#include "id_repair/duplicate_ids.h"
#include "id_repair/new_ids.h"
#include "id_repair/role_id.h"
#include "text/text.h"

RoleIdAnalysis AnalyzeRoleId(SQLHDBC connection, const std::wstring& targetDatabase,
                             const std::wstring& otherDatabase, const std::wstring& oldId) {
    RequireRoleId(oldId, L"角色唯一 ID");
    if (CountCharacterIdRows(connection, targetDatabase, oldId, false) != 1 ||
        CountCharacterIdRows(connection, otherDatabase, oldId, false) != 1) {
        throw RuntimeError("这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录");
    }
    RoleIdAnalysis analysis;
    analysis.fields = CountRoleIdHits(connection, targetDatabase, oldId);
    analysis.suggestedId = NextRoleIdAfterMax(connection, ListDatabases(connection));
    return analysis;
}
