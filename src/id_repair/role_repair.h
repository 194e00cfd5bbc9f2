#pragma once

#include <string>
#include <vector>

#include "id_repair/progress.h"
#include "id_repair/related_fields.h"

/// Replaces one character ID in the target database in one transaction: re-check under lock, update every
/// related field, verify that none refers to the old ID any more, commit. Whatever fails rolls everything
/// back. The main table is one of the related fields; nothing else updates it.
/// @param connection  on the target database, used by nothing else meanwhile.
/// @param fields      of an analysis of the same ID and database.
/// @param observer    told how many of the statements are executed.
/// @throws RuntimeError "旧角色唯一 ID" or "新角色唯一 ID" followed by "必须是纯数字唯一 ID"; the text of a
/// name
///         that cannot be quoted; "无法开启 SQL 事务"; "事务内复核失败：目标库旧 ID 不再是唯一一条记录";
///         "事务内校验失败：仍有旧 ID 关联数据"; "SQL 事务提交失败"; or a statement's diagnostic text.
void RepairRoleId(SQLHDBC connection, const std::wstring& targetDatabase, const std::wstring& oldId,
                  const std::wstring& newId, const std::vector<RelatedField>& fields,
                  const ProgressObserver& observer = {});

// The two steps that the batch repair shares. Both run inside a transaction and execute one statement per
// field, which `progress` counts.

/// Puts the new ID where a column holds the old one: the program's only statement that writes.
/// @throws RuntimeError as QuoteSqlIdentifier.
std::wstring ReplaceIdSql(const ColumnName& column, std::wstring_view oldId, std::wstring_view newId);

/// Writes the new ID wherever one of the fields holds the old one: the only place of the program that writes
/// to a database. A field without such a row is a failure.
/// @throws RuntimeError with a statement's diagnostic text.
void ReplaceId(SQLHDBC connection, const std::wstring& database, const std::vector<RelatedField>& fields,
               const std::wstring& oldId, const std::wstring& newId, Progress& progress);

/// Makes sure that no field holds the old ID any more.
/// @throws RuntimeError with `message`, or a statement's diagnostic text.
void RequireNoReference(SQLHDBC connection, const std::wstring& database,
                        const std::vector<RelatedField>& fields, const std::wstring& oldId,
                        const std::wstring& message, Progress& progress);
