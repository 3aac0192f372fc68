#include "ziplib/vl2zip/write/output.h"

#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"

#include <utility>

namespace ziplib {

namespace {

constexpr std::size_t kBufferSize = 1U << 20U;
// A larger range may take longer than the heartbeat allows.
constexpr std::uint64_t kLongCopy = 8U << 20U;

} // namespace

Output::Output(platform::NewFile &file, std::string name, std::function<void()> idle)
    : m_file(file), m_name(std::move(name)), m_idle(std::move(idle)) {
    m_buffer.reserve(kBufferSize);
}

Status Output::failed(const Status &status) const {
    Status plain = failure(status, Failure::CannotWrite);
    if (plain.ok())
        return plain;
    return {plain.kind, m_name + ": cannot be written: " + plain.message};
}

Status Output::flush() {
    if (m_buffer.empty())
        return {};
    if (auto done = failed(m_file.write(m_buffer.data(), m_buffer.size())); !done.ok())
        return done;
    m_written += m_buffer.size();
    m_buffer.clear();
    return {};
}

Status Output::append(const void *data, std::size_t size) {
    if (m_buffer.size() + size > kBufferSize) {
        if (auto done = flush(); !done.ok())
            return done;
    }
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    if (size < kBufferSize) {
        m_buffer.insert(m_buffer.end(), bytes, bytes + size);
        return {};
    }
    while (size > 0) {
        const std::size_t chunk = size < kBufferSize ? size : kBufferSize;
        if (auto done = failed(m_file.write(bytes, chunk)); !done.ok())
            return done;
        m_written += chunk;
        bytes += chunk;
        size -= chunk;
    }
    return {};
}

Status Output::copy(const platform::InputFile &old, std::uint64_t offset, std::uint64_t size) {
    if (size == 0)
        return {};
    if (auto done = flush(); !done.ok())
        return done;
    Status status;
    if (size < kLongCopy)
        status = m_file.copyFrom(old, offset, size);
    else
        runInBackground({[&] { status = m_file.copyFrom(old, offset, size); }}, m_idle);
    if (status.ok())
        m_written += size;
    return failed(status);
}

Status Output::patch(std::uint64_t offset, std::string_view data) {
    if (auto done = flush(); !done.ok())
        return done;
    return failed(m_file.writeAt(offset, data.data(), data.size()));
}

Status Output::rewind(std::uint64_t position) {
    if (auto done = flush(); !done.ok())
        return done;
    if (auto done = failed(m_file.truncate(position)); !done.ok())
        return done;
    m_written = position;
    return {};
}

} // namespace ziplib
