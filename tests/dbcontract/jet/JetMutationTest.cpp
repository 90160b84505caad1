// Damaged copies of real files: truncated, with random bytes, with whole
// pages overwritten or swapped. Each must either be read to its end or fail
// cleanly with Jet's number for a damaged or unrecognized file, within the
// reader's time limit, and leave the copy as it was. The case count and the first seed
// can be raised through VORN_JET_MUTATIONS and VORN_JET_MUTATION_SEED (the
// script scripts/jet-mutation.sh runs a few hundred this way).

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>

#include "dbcontract/jet/JetProjectFile.h"
#include "dbcontract/jet/JetTestData.h"
#include "runtime/ErrorNumbers.h"
#include "runtime/VornError.h"

namespace vorn {
namespace {

using namespace std::chrono_literals;

int EnvironmentNumber(const char* name, int fallback) {
    const char* text = std::getenv(name);
    return text == nullptr ? fallback : std::atoi(text);
}

// One damaged copy of `original`, chosen by `seed`; `what` tells what was done.
std::string Mutate(const std::string& original, std::size_t pageSize, unsigned seed, std::string& what) {
    std::mt19937 random(seed);
    std::string bytes = original;
    const std::size_t pages = bytes.size() / pageSize;
    const auto page = [&](std::size_t from) { return from + random() % (pages - from); };
    switch (random() % 5) {
    case 0: {
        const std::size_t keep = 2 + random() % (pages - 2);
        bytes.resize(keep * pageSize);
        what = "cut to " + std::to_string(keep) + " pages";
        break;
    }
    case 1: {
        const int count = 1 + static_cast<int>(random() % 64);
        for (int i = 0; i < count; ++i) bytes[pageSize + random() % (bytes.size() - pageSize)] = static_cast<char>(random());
        what = std::to_string(count) + " random bytes";
        break;
    }
    case 2: {
        const std::size_t target = page(1);
        const char fill = (random() % 2) != 0 ? '\0' : '\xFF';
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(target * pageSize), pageSize, fill);
        what = "page " + std::to_string(target) + " filled";
        break;
    }
    case 3: {
        const std::size_t a = page(1);
        const std::size_t b = page(1);
        for (std::size_t i = 0; i < pageSize; ++i) std::swap(bytes[a * pageSize + i], bytes[b * pageSize + i]);
        what = "pages " + std::to_string(a) + " and " + std::to_string(b) + " swapped";
        break;
    }
    default: {
        const std::size_t target = page(0);
        const std::size_t at = target * pageSize + random() % pageSize;
        const std::size_t length = 1 + random() % 256;
        for (std::size_t i = at; i < std::min(at + length, bytes.size()); ++i) bytes[i] = static_cast<char>(random());
        what = std::to_string(length) + " random bytes in page " + std::to_string(target);
        break;
    }
    }
    return bytes;
}

// The records of a reading, counted; the copy's writing is not what may
// crash or hang, so it is left out to keep the cases quick.
class CountingSink : public JetRecordSink {
public:
    void Table(const TableInfo&, std::int64_t) override { ++tables; }
    void Property(const PropertyOwnerKey&, const PropertyInfo&) override {}
    void BeginRows(const std::string&) override {}
    void Row(const std::vector<Variant>&) override { ++rows; }
    void EndRows() override {}
    void Relation(const RelationInfo&) override {}
    void Query(const QueryInfo&) override {}
    void Warning(const std::string&) override {}
    void Failure(std::int32_t, const std::string&) override {}
    void End() override { ended = true; }

    int tables = 0;
    std::int64_t rows = 0;
    bool ended = false;
};

// The kind of a failure, from its wording: the reader crashed, hung, ran
// out of memory, or found the damage itself.
std::string FailureKind(const VornError& error) {
    const std::string& text = error.Description();
    if (text.find("(signal") != std::string::npos) return "crash";
    if (text.find("did not finish") != std::string::npos) return "hang";
    if (text.find("memory") != std::string::npos) return "memory";
    return "found";
}

struct Tally {
    int read = 0;
    std::map<std::string, int> kinds;
    double slowest = 0;  // seconds, for the figures the script reports
    std::map<std::int32_t, int> failures;
};

class JetMutationTest : public ::testing::TestWithParam<const char*> {};

TEST_P(JetMutationTest, EveryDamagedCopyReadsOrFailsCleanly) {
    const std::string fixture = GetParam();
    const std::string original = testing::ReadFile(testing::jet::Fixture(fixture));
    const std::size_t pageSize = static_cast<unsigned char>(original[0x14]) == 0 ? 2048 : 4096;
    const int cases = EnvironmentNumber("VORN_JET_MUTATIONS", 10);
    const int firstSeed = EnvironmentNumber("VORN_JET_MUTATION_SEED", 1);
    testing::TempFolder temp;
    JetOpenOptions options;
    options.limits.idleTimeout = 2s;
    options.limits.memoryBytes = std::size_t{256} << 20;
    Tally tally;
    for (int seed = firstSeed; seed < firstSeed + cases; ++seed) {
        std::string what;
        const std::string damaged = Mutate(original, pageSize, static_cast<unsigned>(seed), what);
        const auto path = temp / ("case" + std::to_string(seed) + ".mdb");
        testing::WriteFile(path, damaged);
        SCOPED_TRACE(fixture + ", seed " + std::to_string(seed) + ": " + what);
        const auto started = std::chrono::steady_clock::now();
        try {
            CountingSink sink;
            JetProjectFile::Read(path.string(), sink, options);
            EXPECT_TRUE(sink.ended);
            ++tally.read;
        } catch (const VornError& error) {
            ++tally.failures[error.Number()];
            ++tally.kinds[FailureKind(error)];
            // A damaged header may also show a password that is not there.
            EXPECT_TRUE(error.Number() == errnum::kJetDatabaseDamaged || error.Number() == errnum::kJetUnrecognizedFormat ||
                        error.Number() == errnum::kJetNotValidPassword)
                << error.Number() << " " << error.Description();
            EXPECT_NE(error.Description().find(path.string()), std::string::npos) << error.Description();
        }
        tally.slowest = std::max(tally.slowest, std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
        EXPECT_EQ(testing::ReadFile(path), damaged);
        std::filesystem::remove(path);
    }
    std::string summary = fixture + ": " + std::to_string(cases) + " cases, " + std::to_string(tally.read) + " read";
    for (const auto& [number, count] : tally.failures) summary += ", " + std::to_string(count) + " failed " + std::to_string(number);
    for (const auto& [kind, count] : tally.kinds) summary += " (" + kind + " " + std::to_string(count) + ")";
    char slowest[32];
    std::snprintf(slowest, sizeof slowest, ", slowest %.2f s", tally.slowest);
    summary += slowest;
    std::printf("[ MUTATION ] %s\n", summary.c_str());
}

INSTANTIATE_TEST_SUITE_P(Fixtures, JetMutationTest, ::testing::Values("jet3-test.mdb", "jet4-decimal.mdb", "dates.mdb",
                                                                     "ace12-test.accdb"));

}  // namespace
}  // namespace vorn
