#pragma once

// Byte and file helpers that the test programs share.

#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kvxml/values/CBinaryData.h"

namespace KvTest {

using Bytes = std::vector<unsigned char>;

inline Bytes Content(const KvXmlLib16::CBinaryData& d) {
    return d.GetData() ? Bytes(d.GetData(), d.GetData() + d.GetLength()) : Bytes();
}

inline std::string FileBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// zlib's own inflation of a whole stream (window bits 31 gzip, 15 zlib, 47 either), up to 1 MB.
inline Bytes Inflate(const Bytes& in, int windowBits = 47) {
    z_stream zs{};
    inflateInit2(&zs, windowBits);
    Bytes out(1 << 20);
    zs.next_in = const_cast<unsigned char*>(in.data());
    zs.avail_in = static_cast<uInt>(in.size());
    zs.next_out = out.data();
    zs.avail_out = static_cast<uInt>(out.size());
    const bool ended = inflate(&zs, Z_FINISH) == Z_STREAM_END;
    out.resize(ended ? zs.total_out : 0);
    inflateEnd(&zs);
    return out;
}

// The descriptors the process holds, to show that a failure closed what it opened.
inline size_t OpenDescriptors() {
    namespace fs = std::filesystem;
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

// A private directory per test, removed with everything in it afterwards.
class TempDirTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::random_device rd;
        m_dir = std::filesystem::temp_directory_path() / ("kvxml_" + std::to_string(rd()) + "_" + std::to_string(rd()));
        std::filesystem::create_directories(m_dir);
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::remove_all(m_dir, ec);
    }
    std::string Path(const std::string& leaf) const { return (m_dir / leaf).string(); }
    // Wide name of a file in the directory (ASCII names only).
    std::u16string Name(const std::string& leaf) const {
        const std::string full = Path(leaf);
        return std::u16string(full.begin(), full.end());
    }
    std::filesystem::path m_dir;
};

} // namespace KvTest
