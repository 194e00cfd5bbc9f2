#pragma once

#include "db/odbc_session.h"
#include "id_repair/batch_repair.h"

/// What the window does for a batch repair: both detections and plans on one connection, then the repair of
/// database B on another.
/// @return the number of columns that were to be changed, main tables included.
template <class ConnectTo>
size_t PlanAndRepair(const ConnectTo& connectTo, const std::wstring& a, const std::wstring& b) {
    const OdbcSession session = connectTo(L"master");
    const auto roles =
        PlanRoleIdBatch(session.Connection(), b, a, FindDuplicateRoles(session.Connection(), a, b));
    const auto guilds =
        PlanGuildIdBatch(session.Connection(), b, a, FindDuplicateGuilds(session.Connection(), a, b));
    const OdbcSession repairSession = connectTo(b);
    RepairAllDuplicates(repairSession.Connection(), b, roles, guilds);
    size_t columns = roles.size() + guilds.size();
    for (const RoleRepairPlan& plan : roles) columns += plan.fields.size();
    for (const GuildRepairPlan& plan : guilds) columns += plan.fields.size();
    return columns;
}
