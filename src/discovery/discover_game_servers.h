#pragma once

#include <string>
#include <vector>

#include "discovery/game_server_info.h"

/// Lists the running game zones: one per installation, in the order of the processes.
/// @param processName  image name of a game server, for instance "M2Server.exe".
/// @param problems     receives the problems of single processes, joined by "；"; empty when there is none. A
///                     process with a problem is left out of the list; the others are not affected.
std::vector<GameServerInfo> DiscoverGameServers(const std::wstring& processName, std::wstring& problems);

/// The same for processes that are known already.
std::vector<GameServerInfo> ReadZones(const std::vector<ServerProcessEntry>& processes,
                                      std::wstring& problems);
