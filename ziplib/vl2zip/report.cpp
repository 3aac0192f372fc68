#include "ziplib/vl2zip/report.h"

namespace ziplib {

std::int32_t Report::end(const Status &status) {
    for (const auto &text : m_deferred)
        print(text);
    if (!status.ok())
        print(status.message);
    else if (hasDeferred())
        return static_cast<std::int32_t>(ReturnCode::Warnings);
    // Every kind that a save fails with has a code, but that of an archive that does not exist.
    return static_cast<std::int32_t>(returnCodeOf(status, ReturnCode::NoArchive));
}

void Report::packed(const ZPPACKED &file) {
    tick();
    m_packed(&file);
}

} // namespace ziplib
