#pragma once

#include "discovery/config_directory.h"
#include "discovery/game_server_info.h"

/// Reads one zone's Config.Json and Config.ini and fills a record from them. The JSON file has priority; the
/// INI file only supplies name, game directory and ID where the JSON file lacks them. `dbName` may be empty:
/// whether such a zone is usable is the caller's decision.
/// @throws RuntimeError "read failed" when one of the files cannot be read.
GameServerInfo ReadServerConfig(const ServerProcessEntry& process, const ServerConfigFiles& files);
