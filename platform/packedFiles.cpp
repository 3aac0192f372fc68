#include "platform/packedFiles.h"

#include <QVarLengthArray>

#include <libdeflate.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace platform {

namespace {

constexpr std::size_t kStep = 128U << 10U;

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

struct Content {
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
};

std::optional<Content> contentOf(const OpenInput &open) {
    InputFile file;
    if (!open(file).ok())
        return {};
    std::vector<char> bytes(kStep);
    Content content;
    for (;;) {
        std::size_t got = 0;
        if (!file.readAt(content.size, bytes.data(), bytes.size(), got).ok())
            return {};
        if (got == 0)
            return content;
        content.crc = libdeflate_crc32(content.crc, bytes.data(), got);
        content.size += got;
    }
}

// Its program may write more to it.
bool isOpenForWriting(const OpenInput &open) {
    InputFile file;
    return open(file).ok() && file.isOpenForWriting();
}

} // namespace

void PackedFiles::add(QStringView path, const FileInfo &seen, std::uint32_t crc, std::int64_t began,
                      bool checksWriters) {
    std::uint64_t key = keyOf(path);
    while (m_files.contains(key))
        ++key;
    m_files.insert(key, {versionOf(seen), seen.size, crc, timesProve(seen, began), checksWriters});
    m_began = std::max(m_began, began);
}

bool PackedFiles::isClockRunning(const Folder &workFolder) const {
    FileInfo now;
    return workFolder.newFileInfo(now).ok() && now.changed >= m_began;
}

bool PackedFiles::hold(QStringView path, const FileInfo &now, bool timesTell,
                       const OpenInput &open) const {
    const std::uint64_t first = keyOf(path);
    const std::uint64_t version = versionOf(now);
    bool sameSize = false;
    auto known = m_files.constFind(first);
    for (std::uint64_t key = first; known != m_files.cend(); known = m_files.constFind(++key)) {
        if (known->size != now.size && known->size != kAnySize)
            continue;
        if (timesTell && known->timesTell && known->version == version)
            return !known->checksWriters || !isOpenForWriting(open);
        sameSize = true;
    }
    const std::optional<Content> content = sameSize ? contentOf(open) : std::nullopt;
    known = m_files.constFind(first);
    for (std::uint64_t key = first; content && known != m_files.cend();
         known = m_files.constFind(++key))
        if ((known->size == content->size || known->size == kAnySize) && known->crc == content->crc)
            return !known->checksWriters || !isOpenForWriting(open);
    return false;
}

} // namespace platform
