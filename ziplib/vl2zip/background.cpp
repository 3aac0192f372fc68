#include "ziplib/vl2zip/background.h"

#include "ziplib/vl2zip/inorder.h"

namespace ziplib {

void runInBackground(const Pieces &pieces, const std::function<void()> &idle) {
    // Enough that a thread takes one alone.
    constexpr std::uint64_t kCost = 1U << 30U;
    InOrder work;
    work.count = pieces.size();
    work.cost = [](std::size_t) { return kCost; };
    work.work = [&](std::size_t i) { pieces[i](); };
    work.take = [](std::size_t) { return true; };
    work.idle = idle;
    runInOrder(work, static_cast<unsigned>(pieces.size()), UINT64_MAX);
}

} // namespace ziplib
