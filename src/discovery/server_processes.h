#pragma once

#include <string>
#include <vector>

#include "discovery/game_server_info.h"

/// Lists the running processes whose image name equals `processName`, ignoring letter case: the whole name
/// with its extension, no wildcards. In snapshot order; the path is empty for a process that cannot be
/// queried. An unavailable snapshot gives an empty list.
std::vector<ServerProcessEntry> EnumerateServerProcesses(const std::wstring& processName);
