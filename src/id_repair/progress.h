#pragma once

#include <cstddef>
#include <functional>

/// Told how far long work is: `done` of `total` steps, from 1 to `total`. Empty when nobody watches.
using ProgressObserver = std::function<void(size_t done, size_t total)>;

/// Counts the steps of one piece of work for an observer: tells it at most once per percent, never backwards,
/// and the last time when everything is done; work that fails ends without that. The observer has no hold on
/// the work: one that throws is not called again.
class Progress {
public:
    /// @param observer  must outlive the object.
    /// @param total     steps of the whole work, at least 1.
    Progress(const ProgressObserver& observer, size_t total) noexcept
        : observer_(observer ? &observer : nullptr), total_(total) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more step is done.
    void Step() noexcept { Reach(done_ + 1); }

    /// So many steps are done, for work that is counted elsewhere.
    void Reach(size_t done) noexcept;

private:
    const ProgressObserver* observer_;  // null when nobody watches, or no longer
    size_t total_;
    size_t done_ = 0;
    size_t toldPercent_ = 0;
};
