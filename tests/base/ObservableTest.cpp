#include "base/Observable.h"

#include <gmock/gmock.h>

#include <optional>
#include <vector>

namespace rewindle::test {
namespace {

using testing::ElementsAre;

class ObservableTest : public testing::Test {
protected:
    /// An observer that notes what it sees, as ten times its own number plus the value.
    std::function<void()> note(int number) {
        return [this, number] { seen.push_back(10 * number + value.get()); };
    }
    std::vector<int> seen;
    Observable<int> value{0};
};

TEST_F(ObservableTest, TellsEveryObserverOfEachChangeAndOfNothingElse) {
    const auto first = value.observe(note(1));
    const auto second = value.observe(note(2));
    value.set(0);
    value.set(5);
    value.set(5);
    value.set(6);
    EXPECT_THAT(seen, ElementsAre(15, 25, 16, 26));
}

TEST_F(ObservableTest, StopsTellingAnObserverWhoseObservationEnded) {
    auto first = value.observe(note(1));
    auto second = value.observe(note(2));
    auto moved = std::move(first);
    first.reset(); // empty by now; NOLINT(bugprone-use-after-move)
    value.set(1);
    moved = std::move(second); // ends the first observer
    value.set(2);
    moved.reset();
    value.set(3);
    EXPECT_THAT(seen, ElementsAre(11, 21, 22));
}

TEST_F(ObservableTest, LetsAnObserverDetachAnotherAttachOneOrSetTheValueAgain) {
    Observation late, victim;
    const auto meddler = value.observe([&] {
        note(1)();
        victim.reset();
        if (value.get() != 1) return;
        late = value.observe(note(3)); // learns of later changes only
        value.set(2);
    });
    victim = value.observe(note(2));
    value.set(1);
    EXPECT_THAT(seen, ElementsAre(11, 12, 32));
}

TEST_F(ObservableTest, AnObservationMayOutliveWhatItObserves) {
    std::optional<Observable<int>> shortLived(std::in_place, 1);
    auto observation = shortLived->observe(note(1));
    shortLived.reset();
    observation.reset();
    EXPECT_TRUE(seen.empty());
}

} // namespace
} // namespace rewindle::test
