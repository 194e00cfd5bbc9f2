#include "types.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <algorithm>
#include <limits>

#include "text.h"

namespace standin {
namespace {

struct TypeRow {
    TypeId id;
    TypeClass kind;
    const char* name;
    int odbc;
    int size;  // bytes of a value; 0 where the declared length decides
    int display;
};

constexpr TypeRow kTypes[] = {
    {TypeId::kNull, TypeClass::kNull, "void type", SQL_INTEGER, 4, 11},
    {TypeId::kChar, TypeClass::kText, "char", SQL_CHAR, 0, 0},
    {TypeId::kVarChar, TypeClass::kText, "varchar", SQL_VARCHAR, 0, 0},
    {TypeId::kNChar, TypeClass::kText, "nchar", SQL_WCHAR, 0, 0},
    {TypeId::kNVarChar, TypeClass::kText, "nvarchar", SQL_WVARCHAR, 0, 0},
    {TypeId::kGuid, TypeClass::kGuid, "uniqueidentifier", SQL_GUID, 16, 36},
    {TypeId::kText, TypeClass::kText, "text", SQL_LONGVARCHAR, 0, 0},
    {TypeId::kNText, TypeClass::kText, "ntext", SQL_WLONGVARCHAR, 0, 0},
    {TypeId::kBit, TypeClass::kInteger, "bit", SQL_BIT, 1, 1},
    {TypeId::kTinyInt, TypeClass::kInteger, "tinyint", SQL_TINYINT, 1, 3},
    {TypeId::kSmallInt, TypeClass::kInteger, "smallint", SQL_SMALLINT, 2, 6},
    {TypeId::kInt, TypeClass::kInteger, "int", SQL_INTEGER, 4, 11},
    {TypeId::kBigInt, TypeClass::kInteger, "bigint", SQL_BIGINT, 8, 20},
    {TypeId::kMoney, TypeClass::kDecimal, "money", SQL_DECIMAL, 8, 21},
    {TypeId::kNumeric, TypeClass::kDecimal, "numeric", SQL_NUMERIC, 17, 40},
    {TypeId::kDecimal, TypeClass::kDecimal, "decimal", SQL_DECIMAL, 17, 40},
    {TypeId::kFloat, TypeClass::kFloat, "float", SQL_FLOAT, 8, 24},
    {TypeId::kDate, TypeClass::kTime, "date", SQL_TYPE_DATE, 3, 10},
    {TypeId::kDateTime, TypeClass::kTime, "datetime", SQL_TYPE_TIMESTAMP, 8, 23},
    {TypeId::kDateTime2, TypeClass::kTime, "datetime2", SQL_TYPE_TIMESTAMP, 8, 27},
};

constexpr const TypeRow& RowOf(TypeId id) noexcept {
    return kTypes[static_cast<std::size_t>(id)];
}
static_assert(
    [] {
        for (std::size_t i = 0; i < std::size(kTypes); ++i) {
            if (static_cast<std::size_t>(kTypes[i].id) != i) return false;
        }
        return true;
    }(),
    "the rows are found by their index");

int DigitsOf(const Type& type) noexcept {
    switch (ClassOf(type.id)) {
        case TypeClass::kInteger:
            return 19;
        case TypeClass::kDecimal:
            return type.length - type.scale;
        default:
            return 0;
    }
}

}  // namespace

TypeClass ClassOf(TypeId id) noexcept {
    return RowOf(id).kind;
}
const char* NameOf(TypeId id) noexcept {
    return RowOf(id).name;
}
int OdbcTypeOf(TypeId id) noexcept {
    return RowOf(id).odbc;
}

bool IsWide(TypeId id) noexcept {
    return id == TypeId::kNChar || id == TypeId::kNVarChar || id == TypeId::kNText;
}
bool IsLongText(TypeId id) noexcept {
    return id == TypeId::kText || id == TypeId::kNText;
}
bool IsPadded(TypeId id) noexcept {
    return id == TypeId::kChar || id == TypeId::kNChar;
}

std::int64_t ByteSizeOf(const Type& type) noexcept {
    if (RowOf(type.id).size != 0) return RowOf(type.id).size;
    if (type.length == kMaxLength) return 0;
    return static_cast<std::int64_t>(type.length) * (IsWide(type.id) ? 2 : 1);
}

int DisplaySizeOf(const Type& type) noexcept {
    if (RowOf(type.id).display != 0) return RowOf(type.id).display;
    return std::max(type.length, 0);
}

TypeId FindType(std::string_view name) noexcept {
    for (const TypeRow& row : kTypes) {
        if (row.id != TypeId::kNull && CompareText(row.name, name) == 0) return row.id;
    }
    return TypeId::kNull;
}

IntegerRange RangeOf(TypeId id) noexcept {
    switch (id) {
        case TypeId::kBit:
            return {0, 1};
        case TypeId::kTinyInt:
            return {0, 255};
        case TypeId::kSmallInt:
            return {-32768, 32767};
        case TypeId::kInt:
            return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
        default:
            return {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()};
    }
}

Type CommonType(const Type& a, const Type& b) noexcept {
    Type high = a.id >= b.id ? a : b;
    const Type& low = a.id >= b.id ? b : a;
    if (IsText(high) && IsText(low)) {
        const bool unlimited = high.length == kMaxLength || low.length == kMaxLength;
        high.length = unlimited ? kMaxLength : std::max(high.length, low.length);
    } else if (ClassOf(high.id) == TypeClass::kDecimal) {
        high.scale = std::max(high.scale, low.scale);
        high.length = std::min(38, std::max(DigitsOf(a), DigitsOf(b)) + high.scale);
        if (IsText(low)) high.length = 38;
    }
    return high;
}

std::int64_t PackType(const Type& type) noexcept {
    const auto length = static_cast<std::int64_t>(static_cast<std::uint32_t>(type.length));
    return (length << 16) | (static_cast<std::int64_t>(type.id) << 8) | type.scale;
}

Type UnpackType(std::int64_t packed) noexcept {
    return {static_cast<TypeId>((packed >> 8) & 0xFF), static_cast<int>(packed >> 16),
            static_cast<int>(packed & 0xFF)};
}

}  // namespace standin
