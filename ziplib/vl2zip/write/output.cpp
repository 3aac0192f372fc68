#include "ziplib/vl2zip/write/output.h"

#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"

#include <utility>

namespace ziplib {

namespace {

constexpr std::size_t kGather = 1U << 20U;
// A larger range may keep the disk busy for longer than a caller wants to wait.
constexpr std::uint64_t kLongCopy = 8U << 20U;

} // namespace

Output::Output(platform::NewFile &file, std::string name, std::function<void()> idle)
    : m_file(file), m_name(std::move(name)), m_idle(std::move(idle)) {
    m_gathered.reserve(kGather);
}

Status Output::failed(const Status &status) const {
    Status plain = failure(status, Failure::CannotWrite);
    if (plain.ok())
        return plain;
    return {plain.kind, m_name + ": cannot be written: " + plain.message};
}

Status Output::flush() {
    if (m_gathered.empty())
        return {};
    if (auto done = failed(m_file.write(m_gathered.data(), m_gathered.size())); !done.ok())
        return done;
    m_written += m_gathered.size();
    m_gathered.clear();
    return {};
}

Status Output::append(const void *data, std::size_t size) {
    if (m_gathered.size() + size > kGather) {
        if (auto done = flush(); !done.ok())
            return done;
    }
    const auto *bytes = static_cast<const std::uint8_t *>(data);
    if (size < kGather) {
        m_gathered.insert(m_gathered.end(), bytes, bytes + size);
        return {};
    }
    while (size > 0) {
        const std::size_t chunk = size < kGather ? size : kGather;
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
