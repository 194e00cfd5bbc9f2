#pragma once

#include <string>
#include <vector>

#include "id_repair/duplicate_ids.h"
#include "id_repair/progress.h"
#include "id_repair/related_fields.h"

// New IDs, and the plans of a batch repair. All of this only reads, on a connection of the repair side.
// @throws RuntimeError, everywhere: the texts named below, or the diagnostic text of a statement that failed.

/// What a batch repair will do for one character.
struct RoleRepairPlan {
    DuplicateRole role;
    std::wstring newId;                // decimal digits
    std::vector<RelatedField> fields;  // of the target database, with at least one hit
};

/// What a batch repair will do for one guild.
struct GuildRepairPlan {
    DuplicateGuild guild;
    std::wstring newId;  // a GUID in braces, 38 characters
    std::vector<RelatedField> fields;
};

/// The decimal text of the largest numeric FLD_USERID of the given databases, plus 1. IDs with anything but
/// digits in them do not count; no database at all gives "1".
std::wstring NextRoleIdAfterMax(SQLHDBC connection, const std::vector<std::wstring>& databases);

/// Makes sure that a new character ID is well-formed and free in every one of the databases.
/// @throws "新角色唯一 ID" followed by "必须是纯数字唯一 ID", or "新 ID 已存在于数据库：" followed by the
/// database.
void CheckNewRoleIdFree(SQLHDBC connection, const std::vector<std::wstring>& databases,
                        const std::wstring& newId);

/// Plans consecutive new IDs for the duplicate characters, in list order, after the largest ID of all online
/// user databases.
/// @param observer  told how many of the IDs are planned.
/// @throws "旧角色唯一 ID" or "批量生成的新角色唯一 ID" followed by "必须是纯数字唯一 ID";
///         "重复 ID 在两个库中不再各有且只有一条主表记录：" and the old ID; "无法生成批量修复使用的新角色
///         ID"; what CheckNewRoleIdFree throws.
std::vector<RoleRepairPlan> PlanRoleIdBatch(SQLHDBC connection, const std::wstring& targetDatabase,
                                            const std::wstring& otherDatabase,
                                            const std::vector<DuplicateRole>& duplicates,
                                            const ProgressObserver& observer = {});

/// Plans a new GUID for each duplicate guild, in list order.
/// @param observer  told how many of the IDs are planned.
/// @throws "重复行会 ID 在两个库中不再各有且只有一条主表记录：" and the old ID; "无法生成新的行会 GUID";
///         "无法格式化新的行会 GUID"; "新行会 ID 已存在于数据库：" and the database.
std::vector<GuildRepairPlan> PlanGuildIdBatch(SQLHDBC connection, const std::wstring& targetDatabase,
                                              const std::wstring& otherDatabase,
                                              const std::vector<DuplicateGuild>& duplicates,
                                              const ProgressObserver& observer = {});
