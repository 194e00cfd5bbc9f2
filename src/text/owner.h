#pragma once

#include <utility>

/// Owns one operating-system or driver handle and closes it at the end of its scope.
/// The trait describes the kind of handle: `Handle` is its type, `kNone` the value that means "none" (null
/// for some kinds, -1 for others), `Close` closes it.
template <class Trait>
class Owner {
public:
    using Handle = typename Trait::Handle;

    explicit Owner(Handle handle = Trait::kNone) noexcept : handle_(handle) {}
    Owner(Owner&& other) noexcept : handle_(other.Release()) {}
    Owner& operator=(Owner&& other) noexcept {
        if (this != &other) Reset(other.Release());
        return *this;
    }
    ~Owner() { Reset(); }

    Handle Get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != Trait::kNone; }

    /// Returns the handle without closing it; the caller owns it then.
    Handle Release() noexcept { return std::exchange(handle_, Trait::kNone); }

    /// Closes what is held and holds `handle` instead.
    void Reset(Handle handle = Trait::kNone) noexcept {
        if (Handle old = std::exchange(handle_, handle); old != Trait::kNone) Trait::Close(old);
    }

private:
    Handle handle_;
};
