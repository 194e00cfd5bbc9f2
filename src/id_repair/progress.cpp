#include "id_repair/progress.h"

void Progress::Reach(size_t done) noexcept {
    done_ = done;
    const size_t percent = done * 100 / total_;
    if (!observer_ || percent <= toldPercent_) return;
    toldPercent_ = percent;
    try {
        (*observer_)(done, total_);
    } catch (...) {
        observer_ = nullptr;
    }
}
