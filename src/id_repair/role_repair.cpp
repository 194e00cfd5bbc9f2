#include "id_repair/role_repair.h"

#include "db/odbc_statement.h"
#include "db/odbc_transaction.h"
#include "db/sql_text.h"
#include "id_repair/duplicate_ids.h"
#include "id_repair/role_id.h"
#include "text/text.h"

std::wstring ReplaceIdSql(const ColumnName& column, std::wstring_view oldId, std::wstring_view newId) {
    return SqlText(L"UPDATE ", SqlTableOf{column}, L" SET ", SqlName{column.column}, L" = ", SqlValue{newId},
                   SqlHoldsId{column, oldId});
}

void ReplaceId(SQLHDBC connection, const std::wstring& database, const std::vector<RelatedField>& fields,
               const std::wstring& oldId, const std::wstring& newId, Progress& progress) {
    for (const RelatedField& field : fields) {
        ExecuteDirect(connection, ReplaceIdSql(NameOf(database, field), oldId, newId), false);
        progress.Step();
    }
}

void RequireNoReference(SQLHDBC connection, const std::wstring& database,
                        const std::vector<RelatedField>& fields, const std::wstring& oldId,
                        const std::wstring& message, Progress& progress) {
    for (const RelatedField& field : fields) {
        if (QueryInt64(connection, CountHitsSql(NameOf(database, field), oldId)) != 0) {
            throw RuntimeError(message);
        }
        progress.Step();
    }
}

void RepairRoleId(SQLHDBC connection, const std::wstring& targetDatabase, const std::wstring& oldId,
                  const std::wstring& newId, const std::vector<RelatedField>& fields,
                  const ProgressObserver& observer) {
    RequireRoleId(oldId, L"旧角色唯一 ID");
    RequireRoleId(newId, L"新角色唯一 ID");
    QuoteSqlIdentifier(targetDatabase);  // a name that cannot be quoted is refused before the transaction
    Progress progress(observer, 1 + 2 * fields.size());
    RunInTransaction(connection, TransactionTexts(), [&] {
        if (CountCharacterIdRows(connection, targetDatabase, oldId, true) != 1) {
            throw RuntimeError("事务内复核失败：目标库旧 ID 不再是唯一一条记录");
        }
        progress.Step();
        ReplaceId(connection, targetDatabase, fields, oldId, newId, progress);
        RequireNoReference(connection, targetDatabase, fields, oldId, L"事务内校验失败：仍有旧 ID 关联数据",
                           progress);
    });
}
