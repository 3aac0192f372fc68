#include "bench/treeReader.h"

#include <atomic>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::uint64_t readFile(const std::string &path, std::vector<char> &buffer) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw std::runtime_error("cannot read " + path);
    std::uint64_t total = 0;
    ssize_t got = 0;
    while ((got = read(fd, buffer.data(), buffer.size())) > 0)
        total += static_cast<std::uint64_t>(got);
    close(fd);
    if (got < 0)
        throw std::runtime_error("cannot read " + path);
    return total;
}

} // namespace

bench::TreeRead bench::readTree(const fs::path &root, unsigned threads) {
    std::vector<std::string> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file())
            files.push_back(entry.path().string());
    std::atomic<std::size_t> next{0};
    std::atomic<std::uint64_t> bytes{0};
    std::atomic<bool> failed{false};
    auto work = [&] {
        std::vector<char> buffer(std::size_t{1} << 20);
        try {
            for (std::size_t i = next++; i < files.size(); i = next++)
                bytes += readFile(files[i], buffer);
        } catch (const std::runtime_error &) {
            failed = true;
        }
    };
    std::vector<std::thread> pool;
    for (unsigned i = 1; i < threads; ++i)
        pool.emplace_back(work);
    work();
    for (std::thread &thread : pool)
        thread.join();
    if (failed)
        throw std::runtime_error("a file below " + root.string() + " cannot be read");
    return {files.size(), bytes.load()};
}
