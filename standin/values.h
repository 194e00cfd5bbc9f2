#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace standin {

enum class Family { kText, kInteger, kDecimal, kTime };

/// What the word of a T-SQL type stands for.
struct TypeWord {
    const char* name;
    Family family;
    bool hasLength;
    bool wide;               // the length counts UTF-16 units, not bytes of the code page
    bool padded;             // with blanks, up to the length
    std::int64_t low, high;  // of an integer
};

/// A type: text with its length, a whole decimal with its precision, or the word alone.
struct Type {
    const TypeWord* word;
    int length;

    std::string Declaration() const;                                                       // "nvarchar(50)"
    bool IsLongText() const { return word->family == Family::kText && !word->hasLength; }  // text and ntext

    /// A call of one of SQLite's functions of our own: "function(value,type,length)".
    std::string Call(const char* function, const std::string& value) const;
};

/// @throws SqlError 2715 for a word that names no type of the stand-in.
Type FindType(std::string_view word, int length);
Type ReadDeclaration(const std::string& declaration);

/// True when every text of the one type is unchanged by a CAST to the other.
bool FitsUncut(const Type& from, const Type& to) noexcept;

/// A decimal that 64 bits cannot hold: its 38 digits, leading zeros included. It lies in SQLite as a blob,
/// which SQLite sorts behind integers and digit by digit, so that MAX stays exact.
struct BigDecimal {
    std::string digits;
};

/// One value as it lies in SQLite; monostate is NULL.
using Cell = std::variant<std::monostate, std::int64_t, std::string, BigDecimal>;

/// Converts by T-SQL's rules; NULL stays NULL. @param mayCut  a CAST cuts a text that is too long, storing
/// refuses it
/// @throws SqlError 245, 248, 2628, 8114, 8115.
Cell Convert(const Cell& cell, std::size_t type, int length, bool mayCut);

/// The operators + and * of T-SQL: texts are joined by +, a text beside a number becomes a number.
/// @throws SqlError 245, 248, 8115.
Cell Calculate(char sign, const Cell& left, const Cell& right);

/// The text that a client sees of a value that is not NULL.
std::string Render(const Cell& cell);

/// Reads the whole number in a text, with blanks around it and a sign.
enum class Reading { kNumber, kTooLarge, kNoNumber };
Reading ReadInteger(std::string_view text, std::int64_t& value) noexcept;

}  // namespace standin
