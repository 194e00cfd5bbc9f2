#pragma once

#include <string>
#include <vector>

#include "id_repair/related_fields.h"

/// What the operator is shown before a character's ID is repaired.
struct RoleIdAnalysis {
    std::vector<RelatedField> fields;  // of the target database, with at least one hit
    std::wstring suggestedId;
};

/// Analyses one duplicate character ID. Only reads.
/// @throws RuntimeError "角色唯一 ID" followed by "必须是纯数字唯一 ID";
///         "这个 ID 必须在两个库的 TBL_CHARACTER 中各有且只有一条记录"; or a statement's diagnostic text.
RoleIdAnalysis AnalyzeRoleId(SQLHDBC connection, const std::wstring& targetDatabase,
                             const std::wstring& otherDatabase, const std::wstring& oldId);
