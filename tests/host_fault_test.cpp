// pni-host on full and read-only disks and with too few descriptors.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include "tests/host_program.h"

namespace em_pni::host_test {
namespace {

using test::contentOf;

// Mounts a small file system at `path` for the calling thread and its programs.
class CSmallDisk {
  public:
    explicit CSmallDisk(std::string path) : path_(std::move(path)) {
        if (::unshare(CLONE_NEWNS) == 0 &&
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) {
            mounted_ = ::mount("none", path_.c_str(), "tmpfs", 0, options) == 0;
        }
    }
    ~CSmallDisk() {
        if (mounted_) {
            ::umount2(path_.c_str(), MNT_DETACH);
        }
    }
    CSmallDisk(const CSmallDisk&) = delete;
    CSmallDisk& operator=(const CSmallDisk&) = delete;

    [[nodiscard]] bool IsMounted() const { return mounted_; }
    void Fill() const { std::ofstream(Filler()) << std::string(1 << 20, 'x'); }
    void MakeReadOnly() const {
        ::mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, options);
    }
    void Repair() const {
        ::mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT, options);
        ::unlink(Filler().c_str());
    }

  private:
    static constexpr const char* options = "size=64k";
    [[nodiscard]] std::string Filler() const { return path_ + "/filler"; }
    std::string path_;
    bool mounted_ = false;
};

class HostFault : public testing::Test {
  protected:
    HostFault() {
        Restore(image_);
        EXPECT_EQ(Run(), 0);
        new_ = contentOf(image_);
        EXPECT_NE(new_, old_);
    }
    void Restore(const std::string& image) {
        image_ = image;
        std::filesystem::create_directories(std::filesystem::path(image).parent_path());
        std::ofstream(image) << old_;
    }
    int Run() {
        CProgram program({"run", "--fru", image_, "--once"},
                         {"QL_LOG_DEBUG_LEVEL=5", "QL_LOG_FILE_DIR=" + folder_.File("log")});
        return program.Wait();
    }
    [[nodiscard]] std::string Query() const {
        CProgram program({"query", image_});
        return program.Wait() == 0 ? program.Output() : "";
    }

    test::CTempDirectory folder_;
    std::string image_ = folder_.File("good/a.fru");
    const std::string old_ =
        contentOf(std::string(EM_PNI_TEST_DATA) + "/three-modules-in-2k-device.fru");
    std::string new_;
};

TEST_F(HostFault, OfDisks) {
    const std::string answer = Query();
    const std::string dump = "/opt/QuillonRT/tmp";
    for (const std::string& place :
         {folder_.File("image"), folder_.File("log"), std::string("/opt")}) {
        for (const bool isFull : {true, false}) {
            std::filesystem::create_directories(place);
            const CSmallDisk disk(place);
            if (!disk.IsMounted()) {
                GTEST_SKIP() << "only root can mount a file system for this test";
            }
            Restore(folder_.File("image/a.fru"));
            if (place == "/opt") {
                std::filesystem::create_directories(dump);
            }
            isFull ? disk.Fill() : disk.MakeReadOnly();
            const bool isHit = place == folder_.File("image");
            EXPECT_EQ(Run(), !isHit ? 0 : isFull ? 1 : 2) << place << isFull;
            EXPECT_EQ(contentOf(image_), isHit ? old_ : new_) << place << isFull;
            EXPECT_FALSE(Query().empty()) << place << isFull;
            disk.Repair();
            EXPECT_EQ(Run(), 0) << place << isFull;
            EXPECT_EQ(contentOf(image_), new_) << place << isFull;
            EXPECT_EQ(Query(), answer) << place << isFull;
            const std::filesystem::directory_iterator files(folder_.File("image"));
            EXPECT_EQ(std::distance(files, {}), 1) << "nothing is left behind";
        }
    }
}

TEST_F(HostFault, OfDescriptors) {
    Restore(image_);
    const std::string run =
        "exec '" EM_PNI_BINARY_DIR "/pni-host' run --once --no-cards --fru " + image_;
    EXPECT_EQ(std::system((run + " <&- >&- 2>&-").c_str()), 0);
    EXPECT_EQ(contentOf(image_), new_);
    int done = 0;
    for (int count = 3; count < 30; ++count) {
        Restore(image_);
        const int status = std::system(
            ("exec >/dev/null 2>&1; ulimit -n " + std::to_string(count) + "; " + run).c_str());
        EXPECT_TRUE(WIFEXITED(status)) << count << ": " << status;
        const std::string image = contentOf(image_);
        EXPECT_TRUE(image == old_ || image == new_) << count;
        done += image == new_ ? 1 : 0;
    }
    EXPECT_GT(done, 5);
}

}  // namespace
}  // namespace em_pni::host_test
