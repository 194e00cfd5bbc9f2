#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace standin {

/// Everything that the stand-in can answer besides success; the table in errors.cpp has a row for each.
enum class Err {
    kSyntax,
    kOpenText,
    kUnknownHint,
    kUnknownFunction,
    kUnknownCollation,
    kUnknownType,
    kUnknownObject,
    kUnknownColumn,
    kUnknownSchema,
    kUnknownDatabase,
    kBareColumn,
    kReadOnlyObject,
    kObjectExists,
    kDatabaseExists,
    kDatabaseOffline,
    kDatabaseInUse,
    kSystemDatabase,
    kCannotDrop,
    kCannotAlter,
    kCannotOpen,
    kLoginFailed,
    kNotInTransaction,
    kNoTransaction,
    kTooLong,
    kNotNull,
    kPrimaryKey,
    kUniqueIndex,
    kConversion,
    kIntegerRange,
    kNumeric,
    kOverflow,
    kEscape,
    kLockTimeout,
    kStatementFailed,
    kContextChanged,
    kServerMissing,
    kServerUnreachable,
    kConnectionString,
    kUnknownKeyword,
    kDead,
    kNotConnected,
    kBusy,
    kSequence,
    kCursor,
    kColumnNumber,
    kTruncated,
    kIndicator,
    kNumberRange,
    kNotANumber,
    kParameterMissing,
    kParameterLength,
    kNotImplemented,
    kGeneral,
    kFaultLine,
};

/// Who speaks decides what the driver puts in front of the sentence.
enum class Origin { kServer, kDriver, kVerbatim };

/// One ODBC diagnostic record; the text is UTF-8, without the driver's prefix.
struct DiagRecord {
    std::string state;
    int native = 0;
    std::string text;
    Origin origin = Origin::kVerbatim;
};

/// The record of an error; the arguments take the places of % in its sentence.
DiagRecord MakeRecord(Err error, std::string_view first = {}, std::string_view second = {});

/// A failed call. A fault that a test asked for may carry no record at all.
class SqlError : public std::exception {
public:
    explicit SqlError(std::vector<DiagRecord> records) : records_(std::move(records)) {}
    const std::vector<DiagRecord>& Records() const noexcept { return records_; }
    const char* what() const noexcept override { return records_.empty() ? "" : records_[0].text.c_str(); }

private:
    std::vector<DiagRecord> records_;
};

[[noreturn]] void Fail(Err error, std::string_view first = {}, std::string_view second = {});

}  // namespace standin
