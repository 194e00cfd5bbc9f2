#pragma once

#include <string>

/// The private memory of the one process of this environment that runs `program` (a file name), in kilobytes:
/// what it alone has written to. Wine does not tell, its host does.
/// @throws std::runtime_error when there is no such process.
double PrivateKilobytes(const std::string& program);
