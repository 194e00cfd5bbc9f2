#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "types.h"

namespace standin {

/// One value as it lies in SQLite; monostate is NULL.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string>;

enum class Conversion {
    kCast,   // an explicit CAST cuts text that is too long
    kStore,  // INSERT and UPDATE refuse it
};

/// Converts by T-SQL's rules. NULL stays NULL.
/// @throws SqlError with the state and number SQL Server gives: 245, 248, 241, 529, 2628, 8114, 8115, 8169.
Cell Convert(const Cell& cell, const Type& from, const Type& to, Conversion how);

/// The text a client sees, for a value that is not NULL.
std::string RenderText(const Cell& cell, const Type& type);

/// A decimal literal ("12.50") as the value and type T-SQL gives it.
struct DecimalLiteral {
    Cell cell;
    Type type;
};
DecimalLiteral ReadDecimalLiteral(std::string_view digits);

/// A whole number in text: optional blanks around, optional sign. Nothing where it is no number;
/// `overflow` tells a number that 64 bits cannot hold.
std::optional<std::int64_t> ReadInteger(std::string_view text, bool& overflow);

}  // namespace standin
