#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace standin {

/// One kind of failure. Arguments take the places of % in its sentence.
struct Error {
    const char* state;
    int native;  // the server's number; 0, or in class 08 the system's number, where the driver itself speaks
    const char* sentence;
};

// Everything that the stand-in can say. No other place spells a state, a number or a sentence.
constexpr Error kSyntax{"42000", 102, "Incorrect syntax near '%'."};
constexpr Error kOpenText{"42000", 105, "Unclosed quotation mark after the character string '%'."};
constexpr Error kUnknownFunction{"42000", 195, "'%' is not a recognized built-in function name."};
constexpr Error kUnknownColumn{"42S22", 207, "Invalid column name '%'."};
constexpr Error kUnknownObject{"42S02", 208, "Invalid object name '%'."};
constexpr Error kConversion{"22018", 245, "Conversion failed when converting the value '%' to data type %."};
constexpr Error kIntegerRange{"22003", 248, "The conversion of the value '%' overflowed an % column."};
constexpr Error kSortedText{"42000", 306,
                            "The text, ntext, and image data types cannot be compared or sorted, except when "
                            "using IS NULL or LIKE operator."};
constexpr Error kUnknownHint{"42000", 321, "\"%\" is not a recognized table hints option."};
constexpr Error kUnknownCollation{"42000", 448, "Invalid collation '%'."};
constexpr Error kEscape{"42000", 506,
                        "The invalid escape character \"%\" was specified in a LIKE predicate."};
constexpr Error kNotNull{"23000", 515,
                         "Cannot insert the value NULL into a column that does not allow nulls."};
constexpr Error kUnknownDatabase{"42000", 911, "Database '%' does not exist."};
constexpr Error kOffline{"42000", 942, "Database '%' cannot be opened because it is offline."};
constexpr Error kLockTimeout{"HYT00", 1222, "Lock request time out period exceeded."};
constexpr Error kDatabaseExists{"42000", 1801, "Database '%' already exists. Choose a different name."};
constexpr Error kUniqueIndex{"23000", 2601,
                             "Cannot insert duplicate key row in an object with unique index."};
constexpr Error kPrimaryKey{"23000", 2627,
                            "Violation of PRIMARY KEY constraint. Cannot insert duplicate key."};
constexpr Error kTooLong{"22001", 2628, "String or binary data would be truncated. Truncated value: '%'."};
constexpr Error kObjectExists{"42S01", 2714, "There is already an object named '%' in the database."};
constexpr Error kUnknownType{"42000", 2715, "Cannot find data type %."};
constexpr Error kCannotDrop{"42S02", 3701, "Cannot drop the database '%', because it does not exist."};
constexpr Error kNoTransaction{"42000", 3903, "ROLLBACK TRANSACTION has no corresponding transaction."};
constexpr Error kCannotOpen{"42000", 4060, "Cannot open database \"%\" requested by the login."};
constexpr Error kContextChanged{"01000", 5701, "Changed database context to '%'."};
constexpr Error kNumeric{"42000", 8114, "Error converting data type nvarchar to numeric."};
constexpr Error kOverflow{"22003", 8115, "Arithmetic overflow error converting expression to data type %."};
constexpr Error kLoginFailed{"28000", 18456, "Login failed for user '%'."};
constexpr Error kStatementFailed{"42000", 50000, "The stand-in could not run the statement: %"};
constexpr Error kLoginTimeout{"HYT00", 0, "Login timeout expired"};
constexpr Error kRefused{"08001", 10061, "TCP Provider: Connection refused.\r\n"};
constexpr Error kNotFound{
    "08001", 10061,
    "A network-related or instance-specific error has occurred while establishing a connection to %. Server "
    "is not found or not accessible. Check if instance name is correct and if SQL Server is configured to "
    "allow remote connections. For more information see SQL Server Books Online."};
constexpr Error kSilent{"08001", 258, "TCP Provider: Timeout error [258]. "};
constexpr Error kNoPrelogin{"08001", 258,
                            "Unable to complete login process due to delay in prelogin response"};
constexpr Error kConnectionString{"08001", 0, "Invalid connection string attribute"};
constexpr Error kUnknownKeyword{"01S00", 0, "Invalid connection string attribute"};
constexpr Error kNotConnected{"08003", 0, "Connection not open"};
constexpr Error kReset{"08S01", 10054, "TCP Provider: Connection reset by peer.\r\n"};
constexpr Error kLost{"08S01", 10054, "Communication link failure"};
constexpr Error kDead{"08S01", 0, "Communication link failure"};
constexpr Error kTruncated{"01004", 0, "String data, right truncation"};
constexpr Error kParameters{"07002", 0, "COUNT field incorrect or syntax error"};
constexpr Error kColumnNumber{"07009", 0, "Invalid Descriptor Index"};
constexpr Error kParameterLength{"22001", 0, "String data, right truncation"};
constexpr Error kIndicator{"22002", 0, "Indicator variable required but not supplied"};
constexpr Error kNumberRange{"22003", 0, "Numeric value out of range"};
constexpr Error kNotANumber{"22018", 0, "Invalid character value for cast specification"};
constexpr Error kCursor{"24000", 0, "Invalid cursor state"};
constexpr Error kTransactionOpen{"25000", 0, "Invalid transaction state"};
constexpr Error kBusy{"HY000", 0, "Connection is busy with results for another command"};
constexpr Error kGeneral{"HY000", 0, "General error: %"};
constexpr Error kFaultLine{"HY000", 0, "faults.txt holds a line that cannot be read: %"};
constexpr Error kNotImplemented{"HYC00", 0, "Optional feature not implemented"};

/// One ODBC diagnostic record; the text is UTF-8, and a handle that gets it puts the prefix in front.
struct DiagRecord {
    std::string state;
    int native = 0;
    std::string text;
    bool asWritten = false;  // without a prefix
};

inline DiagRecord MakeRecord(const Error& error, std::string_view first = {}, std::string_view second = {}) {
    std::string text = error.sentence;
    for (std::size_t at = 0; (at = text.find('%', at)) != text.npos;
         at += std::exchange(first, second).size())
        text.replace(at, 1, first);
    return {error.state, error.native, std::move(text)};
}

/// A failed call. A fault that a test asked for may carry no record at all.
class SqlError : public std::exception {
public:
    explicit SqlError(std::vector<DiagRecord> records) : records_(std::move(records)) {}
    const std::vector<DiagRecord>& Records() const noexcept { return records_; }
    const char* what() const noexcept override { return records_.empty() ? "" : records_[0].text.c_str(); }

private:
    std::vector<DiagRecord> records_;
};

[[noreturn]] inline void Fail(const Error& error, std::string_view first = {}, std::string_view second = {}) {
    throw SqlError({MakeRecord(error, first, second)});
}

}  // namespace standin
