#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace standin {

/// In the order of T-SQL's type precedence: of two operands the lower type is converted to the higher one.
enum class TypeId : std::uint8_t {
    kNull,
    kChar,
    kVarChar,
    kNChar,
    kNVarChar,
    kGuid,
    kText,
    kNText,
    kBit,
    kTinyInt,
    kSmallInt,
    kInt,
    kBigInt,
    kMoney,
    kNumeric,
    kDecimal,
    kFloat,
    kDate,
    kDateTime,
    kDateTime2,
};

enum class TypeClass : std::uint8_t { kNull, kText, kGuid, kInteger, kDecimal, kFloat, kTime };

constexpr int kMaxLength = -1;  // nvarchar(max)

/// How values lie in SQLite: texts, times and GUIDs as text, integers as integer, float as real, decimals as
/// the integer without their decimal point, or as 38 digits of text where 64 bits do not hold it: SQLite
/// sorts text behind integers, so that MAX and ORDER BY stay exact.
struct Type {
    TypeId id = TypeId::kNull;
    int length = 0;  // characters, or the precision of a number
    int scale = 0;

    bool operator==(const Type&) const = default;
};

TypeClass ClassOf(TypeId id) noexcept;
inline bool IsText(const Type& type) noexcept {
    return ClassOf(type.id) == TypeClass::kText;
}
bool IsWide(TypeId id) noexcept;         // the types whose length counts UTF-16 units
bool IsLongText(TypeId id) noexcept;     // text and ntext, which can be neither compared nor sorted
bool IsPadded(TypeId id) noexcept;       // char and nchar
const char* NameOf(TypeId id) noexcept;  // "nvarchar"
int OdbcTypeOf(TypeId id) noexcept;      // SQL_WVARCHAR
std::int64_t ByteSizeOf(const Type& type) noexcept;  // 0 for unlimited
int DisplaySizeOf(const Type& type) noexcept;        // characters; 0 for unlimited

/// The type of a name in any case; kNull where the name is unknown.
TypeId FindType(std::string_view name) noexcept;

/// The smallest and largest value of an integer type.
struct IntegerRange {
    std::int64_t low, high;
};
IntegerRange RangeOf(TypeId id) noexcept;

/// The type both operands of a comparison or the branches of a CASE are converted to.
Type CommonType(const Type& a, const Type& b) noexcept;

/// A type as one integer, the form in which it travels to SQLite's functions and into the catalogue.
std::int64_t PackType(const Type& type) noexcept;
Type UnpackType(std::int64_t packed) noexcept;

}  // namespace standin
