#include "ziplib/vl2uzip/fileSink.h"

#include "ziplib/common/buffer.h"
#include "ziplib/common/objectPool.h"

#include <algorithm>
#include <cstdlib>

namespace ziplib {

using platform::Status;

namespace {

// As much of the data decides whether it is text.
constexpr std::size_t kTextSample = 64U << 10;
// The coarsest time step of a disk, and the range of years that every disk knows; nanoseconds.
constexpr std::int64_t kTimeStep = 2'000'000'000;
constexpr std::int64_t kYear1980 = 315'619'200'000'000'000;
constexpr std::int64_t kYear2038 = 2'145'916'800'000'000'000;

} // namespace

Status FileSink::start(const std::uint8_t *data, std::size_t size) {
    m_started = true;
    if (m_target.convert &&
        (m_target.knownText || looksLikeText(data, std::min(size, kTextSample))))
        m_lineEnds.emplace(platform::linesEndInCrLf() ? LineEnds::CrLf : LineEnds::Lf);
    Status status = m_file.create(m_target.folder);
    platform::FileInfo info;
    if (m_target.own != nullptr && status.ok() && m_file.info(info).ok())
        m_target.own->add(info);
    return status;
}

Status FileSink::write(const std::uint8_t *data, std::size_t size) {
    if (!m_started) {
        if (Status status = start(data, size); !status.ok())
            return status;
    }
    if (!m_lineEnds)
        return m_file.write(data, size);
    constexpr std::size_t kChunk = 128U << 10;
    const PooledObject<Bytes> converted;
    converted->resize(LineEndConverter::room(kChunk));
    while (size > 0) {
        const std::size_t now = std::min(size, kChunk);
        const std::size_t length = m_lineEnds->convert(data, now, converted->data());
        if (Status status = m_file.write(converted->data(), length); !status.ok())
            return status;
        data += now;
        size -= now;
    }
    return {};
}

// Sets the file's time. Reads it back until a file has shown whether the disk keeps times.
bool FileSink::keepsTime() {
    const std::int64_t wanted = m_target.modified;
    const bool set = m_file.setModified(wanted).ok();
    Times times = m_target.times;
    if (times != Times::Unknown)
        return set && times == Times::Kept;
    platform::InputFile written;
    platform::FileInfo info;
    const bool kept = set && m_file.openWritten(written).ok() && written.info(info).ok() &&
                      std::abs(info.modified - wanted) < kTimeStep;
    if (kept || (wanted > kYear1980 && wanted < kYear2038))
        m_target.times = kept ? Times::Kept : Times::Lost;
    return kept;
}

Status FileSink::finish() {
    if (!m_started) {
        if (Status status = start(nullptr, 0); !status.ok())
            return status;
    }
    if (m_lineEnds) {
        std::uint8_t last = 0;
        if (Status status = m_file.write(&last, m_lineEnds->finish(&last)); !status.ok())
            return status;
    }
    // The content matters most: a disk without times or attributes still gets the file.
    (void)m_file.setAttributes(m_target.attributes);
    if (!keepsTime()) {
        if (Status status = m_file.sync(); !status.ok())
            return status;
    }
    return m_file.commit(m_target.name, m_target.replace, nullptr, m_target.named);
}

} // namespace ziplib
