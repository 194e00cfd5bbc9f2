#pragma once

#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace standin {

enum class Origin { kServer, kDriver, kVerbatim };  // decides the prefix of the text

/// One ODBC diagnostic record; the text is UTF-8 and still without its "[Microsoft]..." prefix.
struct DiagRecord {
    std::string state;
    int native = 0;
    std::string text;
    Origin origin = Origin::kServer;
};

/// A failed call. An injected fault may carry no record at all.
class SqlError : public std::exception {
public:
    explicit SqlError(std::vector<DiagRecord> records) : records_(std::move(records)) {}
    const std::vector<DiagRecord>& Records() const noexcept { return records_; }
    const char* what() const noexcept override { return records_.empty() ? "" : records_[0].text.c_str(); }

private:
    std::vector<DiagRecord> records_;
};

[[noreturn]] inline void Fail(const char* state, int native, std::string text) {
    throw SqlError({{state, native, std::move(text), Origin::kServer}});
}

[[noreturn]] inline void FailInDriver(const char* state, std::string text) {
    throw SqlError({{state, 0, std::move(text), Origin::kDriver}});
}

}  // namespace standin
