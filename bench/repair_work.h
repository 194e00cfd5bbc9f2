#pragma once

#include "db/odbc_session.h"
#include "id_repair/batch_repair.h"

/// What the window does for a batch repair of database B.
/// @param connect  gives a session on a database of the server.
/// @return the columns to be changed, main tables included, when every ID has as many as the last one.
template <class Connect>
size_t PlanAndRepair(const Connect& connect, const std::wstring& a, const std::wstring& b) {
    const OdbcSession session = connect(L"master");
    const SQLHDBC reading = session.Connection();
    const auto roles = PlanRoleIdBatch(reading, b, a, FindDuplicateRoles(reading, a, b).ToVector());
    const auto guilds = PlanGuildIdBatch(reading, b, a, FindDuplicateGuilds(reading, a, b));
    RepairAllDuplicates(connect(b).Connection(), b, roles, guilds);
    return roles.size() * (1 + roles.back().fields.size()) +
           guilds.size() * (1 + guilds.back().fields.size());
}
