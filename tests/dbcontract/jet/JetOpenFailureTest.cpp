// Files that cannot be opened: each gives a clear failure with the file's
// name, the reason and Jet's number, and the source stays as it was.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <sys/wait.h>
#include <unistd.h>


#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/jet/JetTestData.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/RecordingUserInterface.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

namespace fs = std::filesystem;
using testing::jet::Fixture;
using namespace std::chrono_literals;

JetOpenOptions QuietOptions() {
    JetOpenOptions options;
    options.limits.idleTimeout = 5s;
    options.warnings = [](const std::vector<std::string>&) {};
    return options;
}

// Opens `path` and returns the failure; fails the test when it opens.
VornError OpenFailure(const fs::path& path, const JetOpenOptions& options = QuietOptions()) {
    try {
        JetProjectFile::Open(path.string(), options)->Close();
    } catch (const VornError& error) {
        return error;
    }
    ADD_FAILURE() << path << " opened";
    return VornError(0, "", "");
}

class JetOpenFailureTest : public ::testing::Test {
protected:
    fs::path Copy(const std::string& fixture, const std::string& name) {
        const fs::path path = folder_ / name;
        fs::copy_file(Fixture(fixture), path);
        return path;
    }
    fs::path Write(const std::string& name, const std::string& bytes) {
        testing::WriteFile(folder_ / name, bytes);
        return folder_ / name;
    }
    // The failure of opening `path`, checking that the file and its folder
    // are exactly as they were.
    VornError FailureLeavingAllAsItWas(const fs::path& path) {
        const std::string before = testing::ReadFile(path);
        const auto entries = Entries();
        const VornError error = OpenFailure(path);
        EXPECT_EQ(testing::ReadFile(path), before);
        EXPECT_EQ(Entries(), entries);
        EXPECT_NE(error.Description().find(path.string()), std::string::npos) << error.Description();
        return error;
    }
    std::vector<std::string> Entries() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    testing::TempFolder temp_;
    fs::path folder_ = temp_.path();
};

TEST_F(JetOpenFailureTest, AMissingFileIs3024) {
    EXPECT_EQ(OpenFailure(folder_ / "gone.vpj").Number(), errnum::kJetFileNotFound);
}

TEST_F(JetOpenFailureTest, RandomBytesAre3343) {
    std::mt19937 random(7);
    std::string bytes(8192, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    EXPECT_EQ(FailureLeavingAllAsItWas(Write("noise.vpj", bytes)).Number(), errnum::kJetUnrecognizedFormat);
}

TEST_F(JetOpenFailureTest, ATextFileNamedLikeAProjectIs3343) {
    const VornError error = FailureLeavingAllAsItWas(Write("notes.vpj", "Borehole log, site 4\nDepth 12.5 m\n"));
    EXPECT_EQ(error.Number(), errnum::kJetUnrecognizedFormat);
    EXPECT_NE(error.Description().find("Unrecognized database format"), std::string::npos);
}

TEST_F(JetOpenFailureTest, AnEmptyFileIs3343) {
    EXPECT_EQ(FailureLeavingAllAsItWas(Write("empty.mdb", "")).Number(), errnum::kJetUnrecognizedFormat);
}

TEST_F(JetOpenFailureTest, ATruncatedCopyIsDamaged) {
    const std::string whole = testing::ReadFile(Fixture("jet4-decimal.mdb"));
    for (const std::size_t size : {std::size_t{5000}, whole.size() / 2 + 100, std::size_t{4096}}) {
        const VornError error = FailureLeavingAllAsItWas(Write("cut" + std::to_string(size) + ".mdb", whole.substr(0, size)));
        EXPECT_EQ(error.Number(), errnum::kJetDatabaseDamaged) << size;
        EXPECT_NE(error.Description().find("damaged"), std::string::npos);
    }
}

TEST_F(JetOpenFailureTest, ACopyCutAtAPageIsDamagedOrReadsWhatIsThere) {
    const std::string whole = testing::ReadFile(Fixture("jet4-decimal.mdb"));
    const fs::path path = Write("paged.mdb", whole.substr(0, 8 * 4096));
    const std::string before = testing::ReadFile(path);
    try {
        JetProjectFile::Open(path.string(), QuietOptions())->Close();
    } catch (const VornError& error) {
        EXPECT_EQ(error.Number(), errnum::kJetDatabaseDamaged);
    }
    EXPECT_EQ(testing::ReadFile(path), before);
}

TEST_F(JetOpenFailureTest, TheEncryptedFileIs3031AndSaysWhy) {
    const VornError error = FailureLeavingAllAsItWas(Copy("encrypted.accdb", "encrypted.accdb"));
    EXPECT_EQ(error.Number(), errnum::kJetNotValidPassword);
    EXPECT_NE(error.Description().find("encrypted"), std::string::npos);
}

TEST_F(JetOpenFailureTest, OpeningAGoodFileWritesNothingBesideIt) {
    const fs::path path = Copy("jet4-decimal.mdb", "site.vpj");
    const std::string before = testing::ReadFile(path);
    const auto entries = Entries();
    auto database = JetProjectFile::Open(path.string(), QuietOptions());
    EXPECT_EQ(Entries(), entries);
    database->Close();
    EXPECT_EQ(testing::ReadFile(path), before);
    EXPECT_EQ(Entries(), entries);
}

// Points the temporary folder elsewhere while it lives.
class TemporaryFolderAt {
public:
    explicit TemporaryFolderAt(const fs::path& path) {
        const char* old = std::getenv("TMPDIR");
        if (old != nullptr) saved_ = old;
        setenv("TMPDIR", path.c_str(), 1);
    }
    ~TemporaryFolderAt() {
        if (saved_) setenv("TMPDIR", saved_->c_str(), 1); else unsetenv("TMPDIR");
    }
    TemporaryFolderAt(const TemporaryFolderAt&) = delete;
    TemporaryFolderAt& operator=(const TemporaryFolderAt&) = delete;

private:
    std::optional<std::string> saved_;
};

TEST_F(JetOpenFailureTest, TheCopyLivesInAPrivateFolderUntilClose) {
    testing::TempFolder temp;
    std::unique_ptr<DatabaseBackend> database;
    {
        const TemporaryFolderAt redirected(temp.path());
        database = JetProjectFile::Open(Copy("jet4-decimal.mdb", "a.mdb").string(), QuietOptions());
    }
    std::vector<fs::path> made(fs::directory_iterator(temp.path()), fs::directory_iterator());
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(fs::status(made[0]).permissions() & (fs::perms::group_all | fs::perms::others_all), fs::perms::none);
    database->Close();
    EXPECT_TRUE(fs::is_empty(temp.path()));
}

TEST_F(JetOpenFailureTest, FoldersOfProcessesThatDiedAreSweptAtTheNextOpen) {
    testing::TempFolder temp;
    const pid_t dead = fork();
    if (dead == 0) _exit(0);
    waitpid(dead, nullptr, 0);
    const auto abandoned = temp / "vorn-jet-abandoned";
    const auto alive = temp / "vorn-jet-alive";
    for (const auto& [folder, pid] : {std::pair{abandoned, dead}, std::pair{alive, getpid()}}) {
        fs::create_directory(folder);
        testing::WriteFile(folder / "owner.pid", std::to_string(pid) + "\n");
        testing::WriteFile(folder / "copy.vpj", "left behind");
    }
    const TemporaryFolderAt redirected(temp.path());
    JetProjectFile::Open(Copy("jet4-decimal.mdb", "a.mdb").string(), QuietOptions())->Close();
    EXPECT_FALSE(fs::exists(abandoned));
    EXPECT_TRUE(fs::exists(alive / "copy.vpj"));
}

// ---- Database passwords ------------------------------------------------------

// Stores `password` in the header of a copy of a Jet 3 or Jet 4 file that
// has none. The header is masked with a fixed RC4 key stream (an XOR), and
// a file without a password holds, under it, zeros (Jet 3) or the mask
// Jet 4 mixes the password with; so XOR-ing the password's characters
// (single bytes in Jet 3, UCS-2 in Jet 4) into the stored bytes stores it.
void StorePassword(const fs::path& path, const std::string& password, bool jet3) {
    std::string bytes = testing::ReadFile(path);
    for (std::size_t i = 0; i < password.size(); ++i) {
        const std::size_t at = 0x42 + (jet3 ? i : 2 * i);
        bytes[at] = static_cast<char>(bytes[at] ^ password[i]);
    }
    testing::WriteFile(path, bytes);
}

class JetDatabasePasswordTest : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        unsetenv(JetProjectFile::kPasswordVariable);
        old_ = SetUi(std::make_unique<RecordingUserInterface>());
        path_ = temp_.path() / "locked.vpj";
        fs::copy_file(Fixture(GetParam()), path_);
        StorePassword(path_, "Bohr-Loch 7", std::string(GetParam()).starts_with("jet3"));
        bytes_ = testing::ReadFile(path_);
    }
    void TearDown() override {
        unsetenv(JetProjectFile::kPasswordVariable);
        SetUi(std::move(old_));
        EXPECT_EQ(testing::ReadFile(path_), bytes_);
    }
    RecordingUserInterface& Recording() { return static_cast<RecordingUserInterface&>(Ui()); }

    testing::TempFolder temp_;
    fs::path path_;
    std::string bytes_;
    std::unique_ptr<UserInterface> old_;
};

TEST_P(JetDatabasePasswordTest, WithoutThePasswordIs3031SayingHowToGiveIt) {
    const VornError error = OpenFailure(path_);
    EXPECT_EQ(error.Number(), errnum::kJetNotValidPassword);
    EXPECT_NE(error.Description().find(path_.string()), std::string::npos);
    EXPECT_NE(error.Description().find("password"), std::string::npos);
    EXPECT_NE(error.Description().find("VORN_JET_PASSWORD"), std::string::npos);
    EXPECT_EQ(Recording().SecretPrompts().size(), 1u);  // asked, but no one answered
}

TEST_P(JetDatabasePasswordTest, AWrongPasswordIs3031) {
    JetOpenOptions options = QuietOptions();
    options.password = "bohr-loch 7";  // the case counts
    const VornError error = OpenFailure(path_, options);
    EXPECT_EQ(error.Number(), errnum::kJetNotValidPassword);
    EXPECT_NE(error.Description().find("Not a valid password"), std::string::npos);
}

TEST_P(JetDatabasePasswordTest, TheRightPasswordOpensAndReadsLikeAnyFile) {
    JetOpenOptions options = QuietOptions();
    options.password = "Bohr-Loch 7";
    auto database = JetProjectFile::Open(path_.string(), options);
    testing::jet::ExpectSameContent(GetParam(), *database);
    database->Close();
}

// Reads the file's records without making a copy, which is all a password
// check needs to show.
void ReadRecords(const fs::path& path) {
    class Ignoring : public JetRecordSink {
        void Table(const TableInfo&, std::int64_t) override {}
        void Property(const PropertyOwnerKey&, const PropertyInfo&) override {}
        void BeginRows(const std::string&) override {}
        void Row(const std::vector<Variant>&) override {}
        void EndRows() override {}
        void Relation(const RelationInfo&) override {}
        void Query(const QueryInfo&) override {}
        void Warning(const std::string&) override {}
        void Failure(std::int32_t, const std::string&) override {}
        void End() override {}
    } sink;
    JetProjectFile::Read(path.string(), sink, QuietOptions());
}

TEST_P(JetDatabasePasswordTest, ThePasswordMayComeFromTheEnvironment) {
    setenv(JetProjectFile::kPasswordVariable, "Bohr-Loch 7", 1);
    ReadRecords(path_);
    EXPECT_TRUE(Recording().SecretPrompts().empty());
}

TEST_P(JetDatabasePasswordTest, ThePasswordMayBeAskedFor) {
    Recording().SetSecret("Bohr-Loch 7");
    ReadRecords(path_);
    ASSERT_EQ(Recording().SecretPrompts().size(), 1u);
    EXPECT_NE(Recording().SecretPrompts()[0].find(path_.string()), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Jet3AndJet4, JetDatabasePasswordTest, ::testing::Values("jet3-test.mdb", "jet4-decimal.mdb"));

TEST(JetLooksLikeJetTest, TellsByContentNotByName) {
    testing::TempFolder temp;
    testing::WriteFile(temp / "a.mdb", "plain text");
    EXPECT_FALSE(JetProjectFile::LooksLikeJet((temp / "a.mdb").string()));
    EXPECT_FALSE(JetProjectFile::LooksLikeJet((temp / "missing").string()));
    fs::copy_file(Fixture("ace12-test.accdb"), temp / "project.dat");
    EXPECT_TRUE(JetProjectFile::LooksLikeJet((temp / "project.dat").string()));
    EXPECT_TRUE(JetProjectFile::LooksLikeJet(Fixture("nwind.mdb").string()));
}

}  // namespace
}  // namespace vorn
