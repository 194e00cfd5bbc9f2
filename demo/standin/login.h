#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "errors.h"

namespace standin {

/// What a connection string says; a value that is missing is empty.
struct Login {
    std::string driver, server, database, user, password, timeoutSeconds;
};

/// Reads a connection string by ODBC's brace rules; the first of several equal keywords counts. Keywords that
/// no driver of this family knows are passed over with a warning (01S00).
/// @throws SqlError 08001 for a string that cannot be read.
Login ReadConnectionString(std::string_view text, std::vector<DiagRecord>& warnings);

/// The folder of a server by its SERVER value, under SQLSTANDIN_ROOT. @throws SqlError HYT00 where there is
/// none.
std::string FindServer(const std::string& server);

/// @throws SqlError 18456 unless the server's file server.conf names this user and password.
void CheckLogin(const std::string& directory, const Login& login);

}  // namespace standin
