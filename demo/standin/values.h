#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace standin {

enum class TypeKind {
    kChar,
    kVarChar,
    kNChar,
    kNVarChar,
    kText,
    kNText,
    kTinyInt,
    kSmallInt,
    kInt,
    kBigInt,
    kDecimal,
    kDateTime
};

/// A T-SQL type: text with its length in characters, a decimal without places behind the point with its
/// precision, an integer or datetime.
struct Type {
    TypeKind kind = TypeKind::kInt;
    int length = 0;
};

bool HasLength(TypeKind kind) noexcept;
bool IsText(TypeKind kind) noexcept;
const char* NameOf(TypeKind kind) noexcept;  // "nvarchar"

/// @throws SqlError 2715 for a word that names no type of the stand-in.
TypeKind FindType(std::string_view word);

/// "nvarchar(50)", as columns are declared in SQLite, and back.
std::string WriteType(const Type& type);
Type ReadType(const std::string& declared);

/// True when every text of the one type is unchanged by a CAST to the other.
bool FitsUncut(const Type& from, const Type& to) noexcept;

/// A decimal that 64 bits cannot hold: its 38 digits, leading zeros included. It lies in SQLite as a blob,
/// which SQLite sorts behind integers and digit by digit, so that MAX stays exact.
struct BigDecimal {
    std::string digits;
};

/// One value as it lies in SQLite; monostate is NULL.
using Cell = std::variant<std::monostate, std::int64_t, std::string, BigDecimal>;

enum class Conversion {
    kCast,   // an explicit CAST cuts text that is too long
    kStore,  // INSERT and UPDATE refuse it
};

/// Converts by T-SQL's rules; NULL stays NULL. @throws SqlError 245, 248, 2628, 8114, 8115.
Cell Convert(const Cell& cell, const Type& to, Conversion how);

/// The operators + - * of T-SQL: texts are joined by +, a text beside a number becomes a number.
/// @throws SqlError 245, 248, 8115.
Cell Calculate(char sign, const Cell& left, const Cell& right);

/// The text that a client sees of a value that is not NULL.
std::string Render(const Cell& cell);

/// The whole number in a text, with blanks around it and a sign.
enum class Reading { kNumber, kTooLarge, kNoNumber };
Reading ReadInteger(std::string_view text, std::int64_t& value) noexcept;

}  // namespace standin
