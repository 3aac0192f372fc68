#include "ziplib/vl2zip/write/packed.h"

#include <cstdint>

namespace ziplib {

void notePacked(const std::vector<Task> &tasks, const Directory &directory, Scan &scan) {
    for (const Task &task : tasks) {
        const bool same = task.verdict == Task::Verdict::Same;
        if (!task.folder && (same || task.verdict == Task::Verdict::Pack)) {
            FoundFile &file = scan.files[task.file];
            file.packed = true;
            file.crc = same ? directory.entries()[task.entry].crc : task.packing.crc;
        }
    }
}

void reportPacked(const Scan &scan, Report &report) {
    if (!report.wantsPacked())
        return;
    for (const FoundFile &file : scan.files) {
        if (!file.packed)
            continue;
        ZPPACKED packed{};
        packed.path = file.path.c_str();
        packed.device = file.info.device;
        packed.id = file.info.id;
        packed.size = file.info.size;
        packed.modified = file.info.modified;
        packed.changed = file.info.changed;
        const bool known = scan.began && scan.began->device == file.info.device;
        packed.began = known ? scan.began->changed : INT64_MIN;
        packed.crc = file.crc;
        report.packed(packed);
    }
}

} // namespace ziplib
