#include "errors.h"

#include <iterator>

namespace standin {
namespace {

struct Row {
    Err error;
    Origin origin;
    const char* state;
    int native;
    const char* sentence;
};

constexpr Origin kServer = Origin::kServer;
constexpr Origin kDriver = Origin::kDriver;

// clang-format off: one error, one line
constexpr Row kRows[] = {
    {Err::kSyntax, kServer, "42000", 102, "Incorrect syntax near '%'."},
    {Err::kOpenText, kServer, "42000", 105, "Unclosed quotation mark after the character string '%'."},
    {Err::kUnknownHint, kServer, "42000", 321, "\"%\" is not a recognized table hints option."},
    {Err::kUnknownFunction, kServer, "42000", 195, "'%' is not a recognized built-in function name."},
    {Err::kUnknownCollation, kServer, "42000", 448, "Invalid collation '%'."},
    {Err::kUnknownType, kServer, "42000", 2715, "Cannot find data type %."},
    {Err::kUnknownObject, kServer, "42S02", 208, "Invalid object name '%'."},
    {Err::kUnknownColumn, kServer, "42S22", 207, "Invalid column name '%'."},
    {Err::kUnknownSchema, kServer, "42000", 2760, "The specified schema name \"%\" does not exist."},
    {Err::kUnknownDatabase, kServer, "42000", 911, "Database '%' does not exist."},
    {Err::kBareColumn, kServer, "42000", 8120,
     "Column '%' is invalid in the select list because it is not contained in an aggregate function."},
    {Err::kReadOnlyObject, kServer, "42000", 259, "Ad hoc updates to system catalogs are not allowed."},
    {Err::kObjectExists, kServer, "42S01", 2714, "There is already an object named '%' in the database."},
    {Err::kDatabaseExists, kServer, "42000", 1801,
     "Database '%' already exists. Choose a different database name."},
    {Err::kDatabaseOffline, kServer, "42000", 942, "Database '%' cannot be opened because it is offline."},
    {Err::kDatabaseInUse, kServer, "42000", 3702,
     "Cannot drop database \"%\" because it is currently in use."},
    {Err::kSystemDatabase, kServer, "42000", 3708,
     "Cannot change the database '%' because it is a system database."},
    {Err::kCannotDrop, kServer, "42S02", 3701, "Cannot drop the database '%', because it does not exist."},
    {Err::kCannotAlter, kServer, "42000", 5011,
     "User does not have permission to alter database '%', or the database does not exist."},
    {Err::kCannotOpen, kServer, "42000", 4060,
     "Cannot open database \"%\" requested by the login. The login failed."},
    {Err::kLoginFailed, kServer, "28000", 18456, "Login failed for user '%'."},
    {Err::kNotInTransaction, kServer, "42000", 226,
     "% DATABASE statement not allowed within multi-statement transaction."},
    {Err::kNoTransaction, kServer, "42000", 3903,
     "The ROLLBACK TRANSACTION request has no corresponding BEGIN TRANSACTION."},
    {Err::kTooLong, kServer, "22001", 2628,
     "String or binary data would be truncated. Truncated value: '%'."},
    {Err::kNotNull, kServer, "23000", 515,
     "Cannot insert the value NULL into a column that does not allow nulls."},
    {Err::kPrimaryKey, kServer, "23000", 2627,
     "Violation of PRIMARY KEY constraint. Cannot insert duplicate key."},
    {Err::kUniqueIndex, kServer, "23000", 2601,
     "Cannot insert duplicate key row in an object with a unique index."},
    {Err::kConversion, kServer, "22018", 245,
     "Conversion failed when converting the nvarchar value '%' to data type %."},
    {Err::kIntegerRange, kServer, "22003", 248,
     "The conversion of the nvarchar value '%' overflowed an % column."},
    {Err::kNumeric, kServer, "42000", 8114, "Error converting data type nvarchar to numeric."},
    {Err::kOverflow, kServer, "22003", 8115,
     "Arithmetic overflow error converting expression to data type %."},
    {Err::kEscape, kServer, "42000", 506,
     "The invalid escape character \"%\" was specified in a LIKE predicate."},
    {Err::kLockTimeout, kServer, "HYT00", 1222, "Lock request time out period exceeded."},
    {Err::kStatementFailed, kServer, "42000", 50000, "The stand-in could not run the statement: %"},
    {Err::kContextChanged, kServer, "01000", 5701, "Changed database context to '%'."},
    {Err::kServerMissing, kDriver, "HYT00", 0, "Login timeout expired"},
    {Err::kServerUnreachable, kDriver, "08001", 2,
     "A network-related error has occurred while connecting to %. Server is not found or not accessible."},
    {Err::kConnectionString, kDriver, "08001", 0, "The connection string cannot be read: %"},
    {Err::kUnknownKeyword, kDriver, "01S00", 0, "Invalid connection string attribute"},
    {Err::kDead, kDriver, "08S01", 0, "Communication link failure"},
    {Err::kNotConnected, kDriver, "08003", 0, "Connection not open"},
    {Err::kBusy, kDriver, "HY000", 0, "Connection is busy with results for another hstmt"},
    {Err::kSequence, kDriver, "HY010", 0, "Function sequence error"},
    {Err::kCursor, kDriver, "24000", 0, "Invalid cursor state"},
    {Err::kColumnNumber, kDriver, "07009", 0, "Invalid Descriptor Index"},
    {Err::kTruncated, kDriver, "01004", 0, "String data, right truncation"},
    {Err::kIndicator, kDriver, "22002", 0, "Indicator variable required but not supplied"},
    {Err::kNumberRange, kDriver, "22003", 0, "Numeric value out of range"},
    {Err::kNotANumber, kDriver, "22018", 0, "Invalid character value for cast specification"},
    {Err::kParameterMissing, kDriver, "07002", 0, "COUNT field incorrect or syntax error"},
    {Err::kParameterLength, kDriver, "22001", 0, "String data, right truncation"},
    {Err::kNotImplemented, kDriver, "HYC00", 0, "Optional feature not implemented"},
    {Err::kGeneral, kDriver, "HY000", 0, "General error: %"},
    {Err::kFaultLine, kDriver, "HY000", 0, "faults.txt holds a line that cannot be read: %"},
};
// clang-format on

static_assert(
    [] {
        for (std::size_t i = 0; i < std::size(kRows); ++i) {
            if (static_cast<std::size_t>(kRows[i].error) != i) return false;
        }
        return std::size(kRows) == static_cast<std::size_t>(Err::kFaultLine) + 1;
    }(),
    "a row is found by its place");

}  // namespace

DiagRecord MakeRecord(Err error, std::string_view first, std::string_view second) {
    const Row& row = kRows[static_cast<std::size_t>(error)];
    std::string text;
    for (const char* c = row.sentence; *c != '\0'; ++c) {
        if (*c != '%') {
            text += *c;
        } else {
            text += std::exchange(first, second);
        }
    }
    return {row.state, row.native, std::move(text), row.origin};
}

void Fail(Err error, std::string_view first, std::string_view second) {
    throw SqlError({MakeRecord(error, first, second)});
}

}  // namespace standin
