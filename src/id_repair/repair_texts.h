#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "id_repair/new_ids.h"

// The ID repair window's composed texts.

/// The status line after a detection.
std::wstring DetectionSummary(size_t roles, size_t guilds);

/// The status line after an analysis.
std::wstring AnalysisSummary(const std::vector<RelatedField>& fields);

/// The question before one character's ID is replaced.
std::wstring RepairQuestion(const std::wstring& target, const std::wstring& oldId, const std::wstring& newId,
                            const std::vector<RelatedField>& fields);

/// The question before all duplicate IDs are replaced.
std::wstring BatchQuestion(const std::wstring& target, const std::vector<RoleRepairPlan>& rolePlans,
                           const std::vector<GuildRepairPlan>& guildPlans);

/// The status line after one character's repair.
std::wstring RepairDone(const std::wstring& target, const std::wstring& oldId, const std::wstring& newId);
