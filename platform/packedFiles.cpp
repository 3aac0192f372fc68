#include "platform/packedFiles.h"

#include <QHash>
#include <QString>
#include <QVarLengthArray>

#include <libdeflate.h>

#include <algorithm>
#include <optional>

namespace platform {

namespace {

constexpr std::size_t kStep = 128U << 10U;
constexpr std::uint64_t kKeyBits = (std::uint64_t{1} << 61U) - 1;

// The same for all spellings of a path.
std::uint64_t keyOf(QStringView path) {
    QVarLengthArray<char16_t, 256> text;
    bool ascii = true;
    const auto dropBlanks = [&] {
        while (!text.isEmpty() && text.last() == u' ')
            text.removeLast();
    };
    for (const QChar letter : path) {
        const char16_t unit = letter.unicode();
        if (unit == u'/' || unit == u'\\') {
            dropBlanks();
            if (!text.isEmpty() && text.last() != u'/')
                text.append(u'/');
            continue;
        }
        ascii = ascii && unit < 0x80;
        text.append(unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit);
    }
    dropBlanks();
    const QStringView plain(text.constData(), text.size());
    // Some disks decompose accented letters.
    return ascii ? qHash(plain)
                 : qHash(plain.toString().normalized(QString::NormalizationForm_C).toCaseFolded());
}

std::uint64_t versionOf(const FileInfo &info) {
    return qHashMulti(0, info.device, info.id, info.modified, info.changed);
}

// The CRC-32 of a content, changed if its size needs more than 32 bits.
std::uint32_t contentKey(std::uint64_t size, std::uint32_t crc) {
    constexpr std::uint32_t kOdd = 0x9E3779B1;
    return crc ^ (static_cast<std::uint32_t>(size >> 32U) * kOdd);
}

struct Content {
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
};

std::optional<Content> contentOf(const InputFile &file, const std::atomic<bool> *stop) {
    std::vector<char> bytes(kStep);
    Content content;
    for (;;) {
        std::size_t got = 0;
        if (stop != nullptr && *stop)
            return {};
        if (!file.readAt(content.size, bytes.data(), bytes.size(), got).ok())
            return {};
        if (got == 0)
            return content;
        content.crc = libdeflate_crc32(content.crc, bytes.data(), got);
        content.size += got;
    }
}

} // namespace

void PackedFiles::add(QStringView path, const FileInfo &seen, std::uint32_t crc, std::int64_t began,
                      bool checksWriters) {
    const bool hasAnySize = seen.size == kAnySize;
    m_files.push_back({keyOf(path) & kKeyBits, hasAnySize, timesProve(seen, began), checksWriters,
                       versionOf(seen), static_cast<std::uint32_t>(seen.size),
                       hasAnySize ? crc : contentKey(seen.size, crc)});
    m_sorting->isDone = false;
    m_began = std::max(m_began, began);
}

PackedFiles::Range PackedFiles::versionsOf(QStringView path) const {
    const auto byKey = [](const Packed &a, const Packed &b) { return a.key < b.key; };
    if (!m_sorting->isDone) {
        const std::lock_guard lock(m_sorting->mutex);
        if (!m_sorting->isDone)
            std::sort(m_files.begin(), m_files.end(), byKey);
        m_sorting->isDone = true;
    }
    const Packed wanted{keyOf(path) & kKeyBits, false, false, false, 0, 0, 0};
    return std::equal_range(m_files.cbegin(), m_files.cend(), wanted, byKey);
}

bool PackedFiles::isClockRunning(const Folder &workFolder) const {
    FileInfo now;
    return workFolder.newFileInfo(now).ok() && now.changed >= m_began;
}

bool PackedFiles::hold(QStringView path, const FileInfo &now, bool timesTell, const OpenInput &open,
                       const std::atomic<bool> *stop) const {
    const Range versions = versionsOf(path);
    const std::uint64_t version = versionOf(now);
    const auto openHeld = [&](bool checksWriters) {
        InputFile *const file = open();
        return file == nullptr || !checksWriters || file->holdOffWriters(now.device) ? file
                                                                                     : nullptr;
    };
    bool sameSize = false;
    bool checksWriters = false;
    for (auto known = versions.first; known != versions.second; ++known) {
        if (!known->hasAnySize && known->size != static_cast<std::uint32_t>(now.size))
            continue;
        if (timesTell && known->timesTell && known->version == version)
            return !known->checksWriters || openHeld(true) != nullptr;
        sameSize = true;
        checksWriters = checksWriters || known->checksWriters;
    }
    const InputFile *const file = sameSize ? openHeld(checksWriters) : nullptr;
    const std::optional<Content> content = file != nullptr ? contentOf(*file, stop) : std::nullopt;
    const auto hasContent = [&](const Packed &known) {
        return known.hasAnySize != 0 ? known.content == content->crc
                                     : known.size == static_cast<std::uint32_t>(content->size) &&
                                           known.content == contentKey(content->size, content->crc);
    };
    return content && std::any_of(versions.first, versions.second, hasContent);
}

} // namespace platform
