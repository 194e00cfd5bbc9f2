#pragma once

#include <string>
#include <vector>

#include "id_repair/new_ids.h"

/// Replaces every planned character and guild ID in the target database in one transaction: all of it is
/// committed or none of it. Each ID is re-checked under lock right before its own updates; after all updates
/// every ID is verified, in its main table (the old ID nowhere, the new one exactly once) and in its related
/// fields. Two empty lists do nothing at all.
/// @param connection  on the target database, used by nothing else meanwhile.
/// @param observer    told how many of the statements are executed.
/// @throws RuntimeError the text of a database name that cannot be quoted; "无法开启统一修复 SQL 事务";
///         "事务内复核失败，角色旧 ID 记录数不是 1：", "事务内校验失败，角色旧/新 ID 状态异常：" or
///         "事务内校验失败，仍有角色旧 ID 关联数据：" and the old ID, the same with 行会 for guilds;
///         "统一角色/行会修复事务提交失败"; or a statement's diagnostic text.
void RepairAllDuplicates(SQLHDBC connection, const std::wstring& targetDatabase,
                         const std::vector<RoleRepairPlan>& rolePlans,
                         const std::vector<GuildRepairPlan>& guildPlans,
                         const ProgressObserver& observer = {});
