#include "host/defaults/JsonDefaultsStore.h"

#include "fakes/CapturingLogSink.h"
#include "host/HostFiles.h"
#include "host/files/FileLock.h"
#include "host/files/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <csignal>
#include <fstream>
#include <limits>
#include <random>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<int> fileSyncs = 0;
std::atomic<pid_t> lastSyncingThread = 0;

} // namespace

/// Takes the place of the system's, to see who waits for the storage.
extern "C" int fsync(int descriptor) {
    struct stat found {};
    if (::fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode)) ++fileSyncs;
    lastSyncingThread = static_cast<pid_t>(::syscall(SYS_gettid));
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsSubsetOf;
using testing::UnorderedElementsAre;
using Path = std::filesystem::path;

template <class Body>
pid_t inChild(Body body) {
    const pid_t child = ::fork();
    if (child == 0) {
        body();
        ::_exit(0);
    }
    return child;
}

void awaitEnd(pid_t child) {
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
}

class JsonDefaultsStoreTest : public testing::Test {
protected:
    /// A store as another start of the program has it.
    [[nodiscard]] std::unique_ptr<JsonDefaultsStore> open() {
        return std::make_unique<JsonDefaultsStore>(file_, Log(log_, "Settings"));
    }
    void write(const std::string& content) const {
        std::filesystem::create_directories(file_.parent_path());
        std::ofstream(file_, std::ios::binary) << content;
    }

    TemporaryFolder folder_;
    const Path file_ = folder_.path / "config" / "rewindle" / "settings.json";
    CapturingLogSink log_;
};

TEST_F(JsonDefaultsStoreTest, ValuesComeBackAsTheyWereStored) {
    const std::map<std::string, DefaultsValue> values = {
        {"flag", true},
        {"integer", std::int64_t{300}},
        {"largest", std::numeric_limits<std::int64_t>::max()},
        {"whole double", 6.0},
        {"large double", 1e22},
        {"fraction", 0.1},
        {"tiny", std::numeric_limits<double>::denorm_min()},
        {"text", std::string("a \"quoted\\\" line\n\t\u00fc\U0001F600\x01")},
        {"empty", std::string()},
        {"gains", DefaultsDictionary{{"alsa_output.pci \"0\"", -6.0}, {"\u00fc", 0.5}}},
        {"none", DefaultsDictionary{}},
    };
    const auto store = open();
    for (const auto& [key, value] : values)
        store->set(key, value);
    store->set("removed", true);
    store->remove("removed");
    for (const auto& [key, value] : values) {
        EXPECT_EQ(store->object(key), value) << key;
        EXPECT_EQ(open()->object(key), value) << key << contentOf(file_);
    }
    EXPECT_EQ(open()->object("removed"), std::nullopt);
    struct stat found {};
    ASSERT_EQ(::stat(file_.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
    EXPECT_THAT(namesIn(file_.parent_path()), UnorderedElementsAre("settings.json", "settings.json.lock"));
    EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(JsonDefaultsStoreTest, WhatItDoesNotKnowSurvivesAsItIsWritten) {
    const std::vector<std::string> known = {R"("later": {"deep": [1, 2.0, "}\"]", {}], "e": 1E5})", R"("six": 6.0)",
                                            R"("huge": 18446744073709551616)", R"("text": "\u00e9\/")"};
    std::string content = "\xEF\xBB\xBF{\r\n\t\"twice\": 1, \"es\\u0063aped\":[ ]\t,";
    for (const auto& member : known)
        content += member + ",";
    write(content + R"("nothing" : null, "twice" : 2})");
    const auto store = open();
    store->set("own", true);
    for (const auto& member : known)
        EXPECT_THAT(contentOf(file_), HasSubstr(member));
    const auto fresh = open();
    for (const auto* const reader : {fresh.get(), store.get()}) {
        EXPECT_EQ(reader->object("six"), DefaultsValue(6.0));
        EXPECT_EQ(reader->object("huge"), DefaultsValue(18446744073709551616.0));
        EXPECT_EQ(reader->object("text"), DefaultsValue(std::string("\u00e9/")));
        EXPECT_EQ(reader->object("twice"), DefaultsValue(std::int64_t{2}));
        for (const char* foreign : {"later", "nothing", "escaped"})
            EXPECT_EQ(reader->object(foreign), DefaultsValue(ForeignDefaultsValue())) << foreign;
    }
}

TEST_F(JsonDefaultsStoreTest, ProcessesThatWriteAtOnceLoseNothingAndSeeEachOther) {
    constexpr int kKeys = 60;
    const auto store = open();
    std::array<pid_t, 3> children{};
    for (int process = 0; auto& child : children) {
        child = inChild([&] {
            const auto own = open();
            for (int key = 0; key < kKeys; ++key)
                own->set(std::to_string(process) + "." + std::to_string(key), std::int64_t{key});
        });
        ++process;
    }
    for (int key = 0; key < kKeys; ++key)
        store->set("here." + std::to_string(key), std::int64_t{key});
    for (const auto child : children)
        awaitEnd(child);
    for (const std::string writer : {"0", "1", "2", "here"}) {
        for (int key = 0; key < kKeys; ++key)
            EXPECT_EQ(store->value<std::int64_t>(writer + "." + std::to_string(key)), key) << writer;
    }
}

TEST_F(JsonDefaultsStoreTest, AProcessKilledAtAnyMomentLosesNothingThatWasSet) {
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        int ends[2] = {};
        ASSERT_EQ(::pipe(ends), 0);
        const pid_t child = inChild([&] {
            const auto store = open();
            for (std::int64_t number = 1;; ++number) {
                store->set("number", number);
                if (::write(ends[1], &number, sizeof number) != sizeof number) ::_exit(1);
            }
        });
        ::close(ends[1]);
        std::int64_t returned = 0;
        for (auto count = random() % 12 + 1; count > 0; --count)
            ASSERT_EQ(::read(ends[0], &returned, sizeof returned), ssize_t{sizeof returned});
        for (auto turns = random() % 300; turns > 0; --turns)
            std::this_thread::yield(); // so that it dies elsewhere each time
        ::kill(child, SIGKILL);
        awaitEnd(child);
        while (::read(ends[0], &returned, sizeof returned) > 0) {
        }
        ::close(ends[0]);
        const auto stored = open()->value<std::int64_t>("number");
        ASSERT_TRUE(stored == returned || stored == returned + 1) << contentOf(file_);
    }
    EXPECT_THAT(namesIn(file_.parent_path()),
                IsSubsetOf({"settings.json", "settings.json.lock", ".settings.json.tmp"}));
    EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(JsonDefaultsStoreTest, ADamagedFileIsSetAsideAndNothingSetAsideIsOverwritten) {
    const std::vector<std::string> damaged = {R"({"a": 1)", R"([{"a": 1}])", "", R"({"a": 1} x)", "\"a\""};
    for (std::size_t i = 0; i < damaged.size(); ++i) {
        SCOPED_TRACE(damaged[i]);
        write(damaged[i]);
        const auto store = open();
        EXPECT_EQ(store->object("a"), std::nullopt);
        EXPECT_EQ(contentOf(file_.native() + ".bad" + (i == 0 ? "" : "." + std::to_string(i))), damaged[i]);
        EXPECT_EQ(log_.lines().size(), i + 1);
        store->set("a", true);
        EXPECT_TRUE(open()->flag("a"));
    }
    EXPECT_EQ(contentOf(file_.native() + ".bad"), damaged[0]);
}

TEST_F(JsonDefaultsStoreTest, AFileDamagedMeanwhileCostsNoValue) {
    const auto store = open();
    store->set("known", 6.0);
    write(R"({"known": 7.)"); // an editor in the middle of saving
    EXPECT_EQ(store->value<double>("known"), 6.0);
    EXPECT_THAT(namesIn(file_.parent_path()), testing::Contains("settings.json"));
    write(R"({"known": 7.5})");
    EXPECT_EQ(store->value<double>("known"), 7.5);
    write("{");
    store->set("other", true);
    EXPECT_EQ(contentOf(file_.native() + ".bad"), "{");
    EXPECT_EQ(open()->value<double>("known"), 7.5);
    std::filesystem::remove(file_);
    EXPECT_EQ(store->object("known"), std::nullopt);
}

TEST_F(JsonDefaultsStoreTest, WhereNothingCanBeStoredValuesLastForTheProcessAndTheLogSaysSoOnce) {
    const OrdinaryUser user(folder_.path);
    write(R"({"stored": 1})");
    const auto config = file_.parent_path();
    const auto allow = std::filesystem::perms::owner_all;
    for (const auto& [what, forbidden] :
         {std::pair(config, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec),
          std::pair(file_, std::filesystem::perms::none)}) {
        SCOPED_TRACE(what);
        std::filesystem::permissions(what, forbidden);
        const auto lines = log_.lines().size();
        const auto store = open();
        for (const double value : {1.0, 2.0, 3.0})
            store->set("own", value);
        store->remove("stored");
        EXPECT_EQ(store->value<double>("own"), 3.0);
        EXPECT_EQ(store->object("stored"), std::nullopt);
        EXPECT_EQ(log_.lines().size(), lines + 1);
        std::filesystem::permissions(what, allow);
        EXPECT_EQ(open()->value<std::int64_t>("stored"), 1); // untouched
    }
    const auto store = open();
    store->set("path", std::string("not UTF-8: \xFF"));
    store->set("other", true);
    EXPECT_EQ(store->value<std::string>("path"), "not UTF-8: \xFF");
    EXPECT_TRUE(open()->flag("other"));
    EXPECT_EQ(log_.lines().size(), 3U);
}

TEST_F(JsonDefaultsStoreTest, WritesThroughLinks) {
    const auto elsewhere = folder_.path / "dotfiles";
    std::filesystem::create_directories(elsewhere);
    std::filesystem::create_directories(file_.parent_path());
    std::filesystem::create_symlink("../../dotfiles/link", file_);
    std::filesystem::create_symlink(elsewhere / "target", elsewhere / "link");
    for (const char* key : {"first", "second"}) { // the target is made, then replaced
        open()->set(key, true);
        EXPECT_TRUE(std::filesystem::is_symlink(file_) && std::filesystem::is_symlink(elsewhere / "link"));
        EXPECT_THAT(contentOf(elsewhere / "target"), HasSubstr(key));
    }
    EXPECT_TRUE(open()->flag("first"));
}

TEST_F(JsonDefaultsStoreTest, NobodyWhoSetsAValueWaitsForTheStorage) {
    const int before = fileSyncs;
    const auto caller = static_cast<pid_t>(::syscall(SYS_gettid));
    const auto began = std::chrono::steady_clock::now();
    auto store = open();
    for (std::int64_t value = 0; fileSyncs == before; ++value) { // until it was synced once, elsewhere
        store->set("gain", value);
        ASSERT_LT(std::chrono::steady_clock::now() - began, 30s);
    }
    EXPECT_NE(lastSyncingThread, caller);
    const int syncs = fileSyncs;
    store->set("gain", 0.5);
    store.reset();
    EXPECT_GT(fileSyncs, syncs);
    EXPECT_LE(fileSyncs - before, 2 + (std::chrono::steady_clock::now() - began) / 500ms);
}

TEST_F(JsonDefaultsStoreTest, AStoppedProcessThatHoldsTheLockDelaysButLosesNothing) {
    auto store = open();
    store->set("first", true);
    std::optional lock(FileLock::acquire(file_.native() + ".lock", 0ms));
    ASSERT_TRUE(lock->ok());
    store->set("second", true);
    store->set("third", true);
    EXPECT_TRUE(store->flag("second"));
    EXPECT_FALSE(open()->flag("second"));
    EXPECT_EQ(log_.lines().size(), 1U);
    lock.reset();
    store.reset();
    for (const char* key : {"first", "second", "third"})
        EXPECT_TRUE(open()->flag(key)) << key;
}

} // namespace
} // namespace rewindle::test
