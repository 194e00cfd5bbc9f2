#pragma once

#include <string>
#include <vector>

#include "discovery/game_server_info.h"

/// Lists the running processes whose image name equals `processName`, letter case aside: the whole name, with
/// its extension and no wildcard. In snapshot order; a process that cannot be asked for its path has an empty
/// one. An unavailable snapshot gives an empty list.
std::vector<ServerProcessEntry> EnumerateServerProcesses(const std::wstring& processName);
