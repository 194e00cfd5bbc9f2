#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Rows of texts as a query returns them, to be kept. There can be tens of thousands: their texts lie in a
/// few large blocks, which takes less than half the memory of as many strings and little of their time.
template <size_t kColumns>
class TextRows {
public:
    using Row = std::array<std::wstring_view, kColumns>;

    size_t size() const noexcept { return starts_.size(); }
    bool empty() const noexcept { return starts_.empty(); }

    /// The texts of a row; valid until the next one is added.
    Row operator[](size_t index) const {
        const wchar_t* text = blocks_[index / kRowsInBlock].c_str() + starts_[index];
        Row row;
        for (std::wstring_view& column : row) {
            column = text;
            text += column.size() + 1;
        }
        return row;
    }

    /// Appends a row of texts without U+0000.
    void Add(const Row& row) {
        if (size() % kRowsInBlock == 0) {
            const size_t units = blocks_.empty() ? 0 : blocks_.back().capacity();  // rows are much alike
            blocks_.emplace_back().reserve(units);
        }
        std::wstring& block = blocks_.back();
        starts_.push_back(block.size());
        size_t units = block.size() + kColumns;
        for (const std::wstring_view text : row) units += text.size();
        block.resize(units);
        wchar_t* place = block.data() + starts_.back();
        for (const std::wstring_view text : row) place += text.copy(place, text.size()) + 1;
    }

private:
    static constexpr size_t kRowsInBlock = 256;
    std::vector<std::wstring> blocks_;  // each text with its terminator
    std::vector<size_t> starts_;        // of each row in its block
};
