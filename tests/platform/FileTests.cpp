#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "kvxml/platform/KvFile.h"
#include "support/KvTestBytes.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::Platform;
namespace fs = std::filesystem;

namespace {

// A private directory per test, removed with everything in it afterwards.
class PlatformFile : public KvTest::TempDirTest {
protected:
    void Put(const std::string& leaf, const std::string& bytes) const {
        std::ofstream(m_dir / leaf, std::ios::binary) << bytes;
    }
    std::string Get(const std::string& leaf) const { return KvTest::FileBytes(m_dir / leaf); }
};

} // namespace

TEST_F(PlatformFile, WritesAtOffsetsReadBackAtOffsets) {
    const std::u16string name = Name("data.bin");
    {
        CPlatformFile file;
        ASSERT_EQ(file.CreateForWrite(name.c_str()), KV_ERROR_SUCCESS);
        CFileOperation op;
        uint32_t count = 99;
        struct Piece {
            uint64_t offset;
            const char* bytes;
        };
        // Out of order, with a hole that must read back as zeros.
        for (const Piece& p : {Piece{10, "world"}, Piece{0, "hello"}, Piece{20, "!"}}) {
            const uint32_t started = file.StartWrite(&op, p.offset, p.bytes, uint32_t(std::strlen(p.bytes)));
            ASSERT_TRUE(started == KV_ERROR_SUCCESS || started == KV_ERROR_IO_PENDING) << started;
            ASSERT_EQ(file.WaitForOperation(&op, &count), KV_ERROR_SUCCESS);
            EXPECT_EQ(count, std::strlen(p.bytes));
            EXPECT_EQ(op.GetOffset(), p.offset);
        }
        EXPECT_EQ(file.Close(), KV_ERROR_SUCCESS);
    }
    EXPECT_EQ(Get("data.bin"), std::string("hello\0\0\0\0\0world\0\0\0\0\0!", 21));

    CPlatformFile file;
    ASSERT_EQ(file.OpenForRead(name.c_str()), KV_ERROR_SUCCESS);
    // clang-format off
    // status: of the wait
    // bytes: what arrives
    struct ReadCase { uint64_t offset; uint32_t asked; uint32_t status; std::string bytes; };
    const ReadCase cases[] = {
        {10, 5, KV_ERROR_SUCCESS, "world"},
        {3, 8, KV_ERROR_SUCCESS, std::string("lo\0\0\0\0\0w", 8)},
        {18, 100, KV_ERROR_SUCCESS, std::string("\0\0!", 3)}, // short read near the end
        {21, 100, KV_ERROR_HANDLE_EOF, ""},                   // exactly at the end
        {5000, 1, KV_ERROR_HANDLE_EOF, ""},                   // far beyond it
        {21, 0, KV_ERROR_SUCCESS, ""},                        // nothing asked, nothing wrong
    };
    // clang-format on
    for (const ReadCase& c : cases) {
        SCOPED_TRACE(c.offset);
        std::vector<char> buffer(c.asked + 1, 'x');
        CFileOperation op;
        const uint32_t started = file.StartRead(&op, c.offset, buffer.data(), c.asked);
        EXPECT_TRUE(started == c.status || started == KV_ERROR_IO_PENDING) << started;
        uint32_t count = 77;
        EXPECT_EQ(file.WaitForOperation(&op, &count, started != KV_ERROR_HANDLE_EOF), c.status);
        EXPECT_EQ(std::string(buffer.data(), count), c.bytes);
        EXPECT_EQ(buffer[count], 'x'); // nothing written past the count
    }
}

TEST_F(PlatformFile, OffsetsBeyondFourGigabytes) {
    const std::u16string name = Name("sparse.bin");
    const uint64_t far = 0x100000010ULL;
    CPlatformFile file;
    ASSERT_EQ(file.CreateForWrite(name.c_str()), KV_ERROR_SUCCESS);
    CFileOperation op;
    uint32_t count = 0;
    const uint32_t started = file.StartWrite(&op, far, "tail", 4);
    ASSERT_TRUE(started == KV_ERROR_SUCCESS || started == KV_ERROR_IO_PENDING);
    ASSERT_EQ(file.WaitForOperation(&op, &count), KV_ERROR_SUCCESS);
    uint64_t size = 0;
    ASSERT_EQ(file.GetSize(&size), KV_ERROR_SUCCESS);
    EXPECT_EQ(size, far + 4);
    file.Close();

    ASSERT_EQ(file.OpenForRead(name.c_str()), KV_ERROR_SUCCESS);
    char buffer[8] = {};
    file.StartRead(&op, far - 2, buffer, sizeof buffer);
    ASSERT_EQ(file.WaitForOperation(&op, &count), KV_ERROR_SUCCESS);
    EXPECT_EQ(std::string(buffer, count), std::string("\0\0tail", 6));
    // A low half alone would land at 16.
    file.StartRead(&op, 16, buffer, 4);
    ASSERT_EQ(file.WaitForOperation(&op, &count), KV_ERROR_SUCCESS);
    EXPECT_EQ(std::string(buffer, 4), std::string(4, '\0'));
}

// Readers share; a writer shares with no one, and a refused writer leaves the content alone.
TEST_F(PlatformFile, SharingRules) {
    Put("shared.txt", "content");
    const std::u16string name = Name("shared.txt");

    CPlatformFile reader1;
    CPlatformFile reader2;
    ASSERT_EQ(reader1.OpenForRead(name.c_str()), KV_ERROR_SUCCESS);
    EXPECT_EQ(reader2.OpenForRead(name.c_str()), KV_ERROR_SUCCESS);
    CPlatformFile writer;
    EXPECT_EQ(writer.CreateForWrite(name.c_str()), KV_ERROR_SHARING_VIOLATION);
    EXPECT_FALSE(writer.IsOpen());
    EXPECT_EQ(Get("shared.txt"), "content");
    reader1.Close();
    reader2.Close();

    ASSERT_EQ(writer.CreateForWrite(name.c_str()), KV_ERROR_SUCCESS);
    CPlatformFile other;
    EXPECT_EQ(other.OpenForRead(name.c_str()), KV_ERROR_SHARING_VIOLATION);
    EXPECT_EQ(other.CreateForWrite(name.c_str()), KV_ERROR_SHARING_VIOLATION);
    writer.Close();
    EXPECT_EQ(other.OpenForRead(name.c_str()), KV_ERROR_SUCCESS);
}

TEST_F(PlatformFile, FailuresCarryWin32Codes) {
    Put("file.txt", "x");
    fs::create_directories(m_dir / "sub");
    // clang-format off
    struct Case { std::u16string name; bool create; uint32_t code; };
    const Case cases[] = {
        {Name("missing.xml"), false, KV_ERROR_FILE_NOT_FOUND},
        {Name("file.txt/inner.xml"), false, KV_ERROR_PATH_NOT_FOUND},
        {Name("sub"), false, KV_ERROR_ACCESS_DENIED},
        {Name(std::string(5000, 'n')), true, KV_ERROR_FILENAME_EXCED_RANGE},
        {Name("bad") + u'\xD800' + u"x", true, KV_ERROR_INVALID_NAME},
        {Name("bad") + u'\xDC00', false, KV_ERROR_INVALID_NAME},
    };
    // clang-format on
    for (const Case& c : cases) {
        CPlatformFile file;
        EXPECT_EQ(c.create ? file.CreateForWrite(c.name.c_str()) : file.OpenForRead(c.name.c_str()), c.code)
            << std::string(c.name.begin(), c.name.end());
        EXPECT_FALSE(file.IsOpen());
    }

    CPlatformFile closed;
    EXPECT_EQ(closed.OpenForRead(nullptr), KV_ERROR_INVALID_PARAMETER);
    uint32_t done = 0;
    char buffer[4];
    CFileOperation op;
    EXPECT_EQ(closed.Read(buffer, 4, &done), KV_ERROR_INVALID_HANDLE);
    EXPECT_EQ(closed.StartRead(&op, 0, buffer, 4), KV_ERROR_INVALID_HANDLE);

    // A read handle does not write.
    CPlatformFile reader;
    ASSERT_EQ(reader.OpenForRead(Name("file.txt").c_str()), KV_ERROR_SUCCESS);
    EXPECT_EQ(reader.StartWrite(&op, 0, "y", 1), KV_ERROR_INVALID_HANDLE);
    EXPECT_EQ(reader.Write("y", 1, &done), KV_ERROR_INVALID_HANDLE);
}

TEST_F(PlatformFile, NamesAreUtf16OnTheWayInAndUtf8OnDisk) {
    const std::u16string wide = Name("") + u"caf\u00E9_\u65E5\U0001F600.xml";
    CPlatformFile file;
    ASSERT_EQ(file.CreateForWrite(wide.c_str()), KV_ERROR_SUCCESS);
    uint32_t done = 0;
    ASSERT_EQ(file.Write("<a/>", 4, &done), KV_ERROR_SUCCESS);
    file.Close();
    EXPECT_EQ(Get("caf\xC3\xA9_\xE6\x97\xA5\xF0\x9F\x98\x80.xml"), "<a/>");
    EXPECT_EQ(file.OpenForRead(wide.c_str()), KV_ERROR_SUCCESS);
}
