#include "host/consent/StoredConsent.h"

#include "fakes/CapturingLogSink.h"
#include "host/HostFiles.h"
#include "host/PrivateBus.h"
#include "host/consent/StoredConsentProbe.h"
#include "host/files/TemporaryFolder.h"

#include <csignal>
#include <fstream>

namespace rewindle::test {
namespace {

namespace portal = StoredConsentPortal;
using Answer = std::optional<bool>;
using Path = std::filesystem::path;

constexpr auto kService = kAudioCaptureConsent;
const QString kTable = QStringLiteral("devices"), kEntry = QStringLiteral("speakers");

/// The record and the desktop's real permission store, which a private bus starts when it is asked.
class StoredConsentTest : public testing::Test {
protected:
    ~StoredConsentTest() override {
        consent_.reset();
        for (const auto& name : {QStringLiteral("own"), QStringLiteral("other")})
            QDBusConnection::disconnectFromBus(name);
    }

    [[nodiscard]] ConsentRecord record() { return {file_, Log(log_, "Consent")}; }
    [[nodiscard]] StoredConsentProbe probe() { return {record(), bus_.connect(QStringLiteral("other"))}; }
    StoredConsent& start(const QDBusConnection& bus) {
        consent_ = std::make_unique<StoredConsent>(record(), bus, Log(log_, "Consent"));
        consent_->setChangeHandler([this] { ++changes_; });
        return *consent_;
    }
    StoredConsent& start() { return start(bus_.connect(QStringLiteral("own"))); }
    StoredConsent& startWithoutBus() { return start(QDBusConnection(QStringLiteral("none"))); }

    /// As other programs do it.
    QDBusMessage callStore(const char* method, const QVariantList& arguments) {
        return bus_.connect(QStringLiteral("other"))
            .call(methodCall(portal::kBusName, portal::kObjectPath, portal::kInterface, method, arguments));
    }
    void setPortal(Answer granted, const char* application = portal::kApplication) {
        const auto name = QString::fromLatin1(application);
        const QStringList answer{granted.value_or(false) ? QStringLiteral("yes") : QStringLiteral("no")};
        const auto reply = granted ? callStore("SetPermission", {kTable, true, kEntry, name, answer})
                                   : callStore("DeletePermission", {kTable, kEntry, name});
        EXPECT_TRUE(!granted || reply.type() == QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    }
    void setRecord(Answer granted) {
        if (granted) {
            EXPECT_TRUE(record().write(*granted));
        } else {
            std::filesystem::remove(file_);
        }
    }
    [[nodiscard]] pid_t storePid() const {
        return static_cast<pid_t>(bus_.connect(QStringLiteral("other"))
                                      .interface()
                                      ->servicePid(QString::fromLatin1(portal::kBusName))
                                      .value());
    }
    [[nodiscard]] bool becomes(int answer) {
        const int before = changes_;
        return runUntil([&] { return changes_ > before && consent_->preflight(kService) == answer; });
    }

    PrivateBus bus_;
    TemporaryFolder folder_;
    const Path file_ = folder_.path / "config" / "rewindle" / "consent";
    CapturingLogSink log_;
    std::unique_ptr<StoredConsent> consent_;
    int changes_ = 0;
};

TEST_F(StoredConsentTest, OneNoIsEnoughAndAYesIsNeeded) {
    const std::vector<Answer> answers = {std::nullopt, true, false};
    setPortal(true, "org.example.Other"); // means nothing
    for (const auto ofRecord : answers) {
        setRecord(ofRecord);
        for (const auto ofPortal : answers) {
            SCOPED_TRACE(testing::Message() << testing::PrintToString(ofRecord) << testing::PrintToString(ofPortal));
            setPortal(ofPortal);
            const bool denied = ofRecord == false || ofPortal == false;
            const int expected = denied ? 1 : ofRecord || ofPortal ? 0 : 2;
            EXPECT_EQ(start().preflight(kService), expected);
            EXPECT_EQ(probe().preflight(kService), expected);
        }
        EXPECT_EQ(startWithoutBus().preflight(kService), !ofRecord ? 2 : *ofRecord ? 0 : 1);
    }
    EXPECT_EQ(consent_->preflight("kTCCServiceMicrophone"), std::nullopt);
}

TEST_F(StoredConsentTest, AnAnswerIsStoredInBothPlacesAndOutlivesTheStore) {
    auto& consent = start();
    for (const bool granted : {true, false, true}) {
        SCOPED_TRACE(granted);
        ASSERT_TRUE(granted ? consent.store(granted) : probe().store(granted));
        EXPECT_EQ(record().read(), granted);
        ::kill(storePid(), SIGKILL);
        EXPECT_TRUE(runUntil([&] { // the bus may not know yet that it is dead
            return portal::entryInReply(callStore("Lookup", {kTable, kEntry})) == portal::Entry{granted};
        }));
        EXPECT_TRUE(runUntil([&] { return consent.preflight(kService) == (granted ? 0 : 1); }));
    }
    EXPECT_EQ(std::filesystem::status(file_).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_EQ(namesIn(file_.parent_path()).size(), 1U);
}

TEST_F(StoredConsentTest, TellsOfEveryChangeInTheDesktopsStore) {
    setRecord(true);
    EXPECT_EQ(start().preflight(kService), 0);
    setPortal(true, "org.example.Other");
    setPortal(false);
    EXPECT_TRUE(becomes(1));
    setPortal(std::nullopt);
    EXPECT_TRUE(becomes(0));
    setPortal(false);
    EXPECT_TRUE(becomes(1));
    EXPECT_EQ(changes_, 3);

    // A store that dies does not take its no with it; the next one is asked.
    const auto dead = storePid();
    ::kill(dead, SIGKILL);
    EXPECT_TRUE(runUntil([&] { return storePid() == 0; }));
    EXPECT_EQ(consent_->preflight(kService), 1);
    setPortal(true);
    EXPECT_TRUE(runUntil([&] { return consent_->preflight(kService) == 0; }));
    EXPECT_NE(storePid(), dead);
}

TEST_F(StoredConsentTest, TellsOfEveryChangeOfTheRecord) {
    EXPECT_EQ(startWithoutBus().preflight(kService), 2); // the folders are not there yet
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        setRecord(true);
        EXPECT_TRUE(becomes(0));
        setRecord(false); // a new file takes its place
        EXPECT_TRUE(becomes(1));
        std::ofstream(file_) << "yes\n"; // the same file, by hand
        EXPECT_TRUE(becomes(0));
        setRecord(std::nullopt);
        EXPECT_TRUE(becomes(2));
        setRecord(false);
        EXPECT_TRUE(becomes(1));
        std::filesystem::remove_all(file_.parent_path().parent_path());
        EXPECT_TRUE(becomes(2));
    }
}

TEST_F(StoredConsentTest, DoesNotWaitLongForAStoreThatHangsButHearsItLater) {
    setRecord(true);
    setPortal(false);
    const auto store = storePid();
    ::kill(store, SIGSTOP);
    EXPECT_EQ(start().preflight(kService), 0);
    EXPECT_EQ(changes_, 0);
    ::kill(store, SIGCONT);
    EXPECT_TRUE(becomes(1));
}

TEST_F(StoredConsentTest, AStoreThatCannotBeStartedLeavesTheRecordAloneUntilItCan) {
    setPortal(false);
    const auto name = QString::fromLatin1(portal::kBusName);
    bus_.makeActivatable(name, QStringLiteral("/bin/false"));
    ::kill(storePid(), SIGKILL);
    ASSERT_TRUE(runUntil([&] { return storePid() == 0; }));
    EXPECT_EQ(start().preflight(kService), 2);
    EXPECT_TRUE(probe().store(false));
    EXPECT_TRUE(becomes(1));
    EXPECT_TRUE(consent_->store(true));
    EXPECT_EQ(consent_->preflight(kService), 0);

    QFile::remove(bus_.folder() + QStringLiteral("/dbus-1/services/") + name + QStringLiteral(".service"));
    EXPECT_TRUE(runUntil([&] { return callStore("Lookup", {kTable, kEntry}).type() == QDBusMessage::ReplyMessage; }));
    EXPECT_TRUE(becomes(1)); // what it has kept counts again
}

TEST_F(StoredConsentTest, ARecordThatCannotBeReadIsANo) {
    const OrdinaryUser user(folder_.path);
    setRecord(true);
    auto& consent = startWithoutBus();
    int lines = 0;
    for (const char* content : {"", "yes", "yes\nno\n", "garbage of some length"}) {
        SCOPED_TRACE(content);
        std::ofstream(file_) << content;
        for (int reading = 0; reading < 2; ++reading)
            EXPECT_EQ(consent.preflight(kService), 1);
        EXPECT_EQ(log_.count("counts as a no"), ++lines);
        setRecord(true);
        EXPECT_EQ(consent.preflight(kService), 0);
    }
    std::filesystem::permissions(file_, std::filesystem::perms::none);
    EXPECT_EQ(consent.preflight(kService), 1);
    EXPECT_TRUE(consent.store(true)); // an answer replaces it
    EXPECT_EQ(consent.preflight(kService), 0);
}

TEST_F(StoredConsentTest, AQuestionsAnswerIsStoredBeforeItIsHandedOn) {
    auto& consent = startWithoutBus();
    EXPECT_FALSE(consent.request(kService, [](bool) { FAIL(); })); // nobody can be asked
    std::function<void(bool)> answer;
    consent.setQuestion([&](std::function<void(bool)> given) { answer = std::move(given); });
    for (const bool granted : {false, true}) {
        int answers = 0;
        ASSERT_TRUE(consent.request(kService, [&](bool got) {
            ++answers;
            EXPECT_EQ(got, granted);
            EXPECT_EQ(record().read(), granted);
        }));
        EXPECT_EQ(answers, 0);
        answer(granted);
        answer(!granted); // a second click
        EXPECT_EQ(answers, 1);
    }
    ASSERT_TRUE(consent.request(kService, [](bool) { FAIL(); }));
    consent_.reset();
    answer(false);
    EXPECT_EQ(record().read(), true);
}

} // namespace
} // namespace rewindle::test

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
