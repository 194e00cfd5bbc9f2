#pragma once

#include <string>
#include <vector>

#include "discovery/game_server_info.h"

/// Lists the running game zones: one per installation, in the order of the processes.
/// @param processName  image name of a game server, for instance "M2Server.exe".
/// @param problems     receives what went wrong with single processes, joined by "；", or nothing. A process
///                     with a problem is not listed; it never stops the others.
std::vector<GameServerInfo> DiscoverGameServers(const std::wstring& processName, std::wstring& problems);

/// The same for processes that are known already.
std::vector<GameServerInfo> ReadZones(const std::vector<ServerProcessEntry>& processes,
                                      std::wstring& problems);
