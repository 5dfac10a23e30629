#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/number.h"
#include "platform/profile_file.h"
#include "tests/temp_directory.h"

namespace em_pni::test {
namespace {

TEST(SmallFile, RefusesWhatIsNoPlainSmallFile) {
    const CTempDirectory directory;
    EXPECT_EQ(readSmallFile(directory.Write("exact", "12345"), 5), "12345");
    EXPECT_EQ(readSmallFile(directory.Write("long", "123456"), 5), std::nullopt);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(readSmallFile(directory.Path(), 5), std::nullopt);
    ASSERT_EQ(::mkfifo(directory.File("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readSmallFile(directory.File("pipe"), 5), std::nullopt);
    EXPECT_EQ(errno, EINVAL);
}

TEST(SmallFile, ReplacingKeepsModeAndOwnerAndLeavesNothingBehind) {
    const CTempDirectory directory;
    const std::string path = directory.Write("file", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0604), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(path.c_str(), 12, 34), 0);
    }
    struct stat before {};
    ASSERT_EQ(::stat(path.c_str(), &before), 0);
    ASSERT_EQ(::chmod(path.c_str(), 06604), 0);
    ASSERT_TRUE(replaceFile(path, "new content"));
    struct stat after {};
    ASSERT_EQ(::stat(path.c_str(), &after), 0);
    EXPECT_EQ(contentOf(path), "new content");
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    std::filesystem::create_symlink("file", directory.File("link"));
    ASSERT_TRUE(replaceFile(directory.File("link"), "x", 0600));
    ASSERT_EQ(::lstat(directory.File("link").c_str(), &after), 0);
    EXPECT_EQ(after.st_mode, S_IFREG | 0600U);
    const CFileDescriptor folder = openFolder(directory.Path());
    EXPECT_FALSE(createFile(folder.Get(), "file", "x"));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(contentOf(path), "new content");
    EXPECT_TRUE(createFile(folder.Get(), "new", "x"));
    EXPECT_FALSE(replaceFile(directory.File("no/such/folder"), "x"));
    ASSERT_TRUE(std::filesystem::create_directory(directory.File("folder")));
    EXPECT_FALSE(replaceFile(directory.File("folder"), "x"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.Path()), {}), 4);
}

TEST(SmallFile, APipeWithoutAReaderSendsNoSignal) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    const CFileDescriptor end(ends[1]);
    EXPECT_FALSE(writeWithoutSignal(end.Get(), "x"));
    EXPECT_EQ(errno, EPIPE);
}

TEST(Number, SaysNothingForWhatIsNoNumber) {
    EXPECT_EQ(parseNumber(" 0x1F\t"), 31U);
    EXPECT_EQ(parseNumber("017"), 15U);
    EXPECT_EQ(parseNumber("0"), 0U);
    EXPECT_EQ(parseNumber("4294967295"), 4294967295U);
    EXPECT_EQ(parseDecimal("017", 100), 17U);
    for (const char* text : {"", " ", "0x", "08", "-1", "+1", "1x", "4294967296", "1 2"}) {
        EXPECT_EQ(parseNumber(text), std::nullopt) << text;
    }
}

TEST(Profile, FindsValuesWhateverTheLayout) {
    const CTempDirectory directory;
    const std::string path =
        directory.Write("p.ini",
                        "stray=0\r\n[ One ]\r\n; key=comment\r\nkey = first \r\n"
                        "key=second\nempty=\n[two]\nKEY=a=b\n[ONE]\nlast=9");
    EXPECT_EQ(GetPrivateProfileString("one", "Key", path), "first");
    EXPECT_EQ(GetPrivateProfileString("One", "empty", path), "");
    EXPECT_EQ(GetPrivateProfileString("One", "last", path), "9");
    EXPECT_EQ(GetPrivateProfileString("TWO", "key", path), "a=b");
    EXPECT_EQ(GetPrivateProfileString("two", "last", path), std::nullopt);
    EXPECT_EQ(GetPrivateProfileString("three", "key", path), std::nullopt);
    EXPECT_EQ(GetPrivateProfileString("one", "key", directory.File("none")), std::nullopt);
}

TEST(Profile, WritingChangesOnlyTheOneValue) {
    const CTempDirectory directory;
    const std::string path = directory.Write("p.ini", "; top\n[A]\nx=1\ny=2\n\n[B]\nx=3\n");
    const char* const file = path.c_str();
    EXPECT_TRUE(WritePrivateProfileString("a", "X", "one", file));
    EXPECT_TRUE(WritePrivateProfileString("A", "z", "new", file));
    EXPECT_TRUE(WritePrivateProfileString("B", "x", nullptr, file));
    EXPECT_TRUE(WritePrivateProfileString("C", "k", "v", file));
    EXPECT_EQ(contentOf(path), "; top\n[A]\nX=one\ny=2\nz=new\n\n[B]\n[C]\nk=v\n");
    EXPECT_TRUE(WritePrivateProfileString("A", nullptr, nullptr, file));
    EXPECT_EQ(contentOf(path), "; top\n[B]\n[C]\nk=v\n");
    EXPECT_FALSE(WritePrivateProfileString(nullptr, "k", "v", file));
    EXPECT_FALSE(WritePrivateProfileString("A", "k", "v", nullptr));
    EXPECT_FALSE(WritePrivateProfileString("A", "k", "v", "/nonexistent/file"));
    EXPECT_TRUE(WritePrivateProfileString("A", "k", "v", directory.File("made").c_str()));
    EXPECT_EQ(contentOf(directory.File("made")), "[A]\nk=v\n");
}

}  // namespace
}  // namespace em_pni::test
