// Sequences of operations on bitmaps of all classes, thrown with dice, beside a model of plain rows: after each of them
// the bitmaps hold what the model says. A sequence that fails is shortened before it is printed.
//
// ZBM_MODEL_SEED=N runs sequence N alone and tells all that it does.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <numeric>

#include "file/FileBitmapTesting.h"
#include "file/ModelOperations.h"
#include "support_code/Shrinking.h"

namespace {

using namespace testkit;

#if defined(__SANITIZE_ADDRESS__) || defined(_WIN32)
constexpr unsigned kSequencesOfAPart = 100;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr unsigned kSequencesOfAPart = 100;
#else
constexpr unsigned kSequencesOfAPart = 1000;
#endif
#else
constexpr unsigned kSequencesOfAPart = 1000;
#endif

constexpr int kSubjects = 3;

struct Step {
    std::size_t operation;
    int target, other;
    unsigned seed;
};

struct Sequence {
    Kind kinds[kSubjects];
    std::vector<Step> steps;  ///< the first of them give each bitmap a picture
};

std::size_t RandomOperation(Dice& dice) {
    const int all = std::accumulate(std::begin(kOperations), std::end(kOperations), 0,
                                    [](int sum, const Operation& operation) { return sum + operation.weight; });
    int number = dice.Below(all);
    for (std::size_t i = 0;; ++i) {
        number -= kOperations[i].weight;
        if (number < 0) return i;
    }
}

Sequence RandomSequence(unsigned seed) {
    Dice dice(seed);
    Sequence sequence{};
    for (int i = 0; i < kSubjects; ++i) {
        // Two of one class meet more often than they would by chance.
        sequence.kinds[i] = i > 0 && dice.OneIn(3) ? sequence.kinds[0] : static_cast<Kind>(dice.Below(kKinds));
        sequence.steps.push_back({0, i, i, dice.Bits()});
    }
    for (int left = dice.Between(4, 16); left > 0; --left)
        sequence.steps.push_back({RandomOperation(dice), dice.Below(kSubjects), dice.Below(kSubjects), dice.Bits()});
    return sequence;
}

/// What went wrong, empty if nothing did. `log` gets what was done.
class Rehearsal {
public:
    explicit Rehearsal(const Sequence& newSequence) : sequence(newSequence) {
        constexpr const char* kFiles[] = {"first", "second", "third"};
        for (int i = 0; i < kSubjects; ++i)
            subjects[i] = std::make_unique<Subject>(sequence.kinds[i], scratch.File(kFiles[i]));
    }
    std::string Failure() {
        try {
            for (const Step& step : sequence.steps) Take(step);
            for (const auto& subject : subjects)
                if (subject->IsInMemory() ? subject->state != State::none || subject->bitmap->IsEmpty() : true)
                    Look(*subject);
            return {};
        } catch (const std::exception& error) { return error.what(); } catch (const shr::AbortException&) {
            return "an abort that nobody asked for";
        }
    }
    std::string log;

private:
    void Take(const Step& step) {
        Subject &target = *subjects[step.target], &other = *subjects[step.other];
        const Operation& operation = kOperations[step.operation];
        if (operation.needsTarget && !target.HasPicture()) return;
        if (operation.needsOther && !other.HasPicture()) return;
        log += testing::PrintToString(step.target) + " " + NameOf(target.kind) + ": " + operation.name;
        if (operation.needsOther) log += " from " + testing::PrintToString(step.other) + " " + NameOf(other.kind);
        log += " ";
        Dice dice(step.seed);
        operation.act({target, other, dice, log});
        log += "\n";
        Look(target);
        if (&target != &other) Look(other);
    }
    /// A bitmap that has never had a picture is whatever it was constructed as.
    static void Look(const Subject& subject) {
        if (subject.state == State::none && subject.IsInMemory() && !subject.bitmap->IsEmpty() &&
            subject.bitmap->GetPixelWidth() == 1)
            return;
        subject.Verify();
    }

    const ScratchFolder scratch;
    const Sequence& sequence;
    std::unique_ptr<Subject> subjects[kSubjects];
};

class Model : public FileBitmapTest {
protected:
    std::string FailureOf(const Sequence& sequence, std::string* log = nullptr) {
        std::string failure;
        {
            Rehearsal run(sequence);
            failure = run.Failure();
            if (log != nullptr) *log = run.log;
        }
        for (const auto& entry : std::filesystem::directory_iterator(shr::test::SystemPath(folder)))
            std::filesystem::remove(entry);
        return failure;
    }

    /// The shortest that fails, step by step, or nothing.
    std::string ShortFailure(Sequence sequence) {
        if (FailureOf(sequence).empty()) return {};
        const auto fails = [&](const std::vector<Step>& steps) {
            return !FailureOf({{sequence.kinds[0], sequence.kinds[1], sequence.kinds[2]}, steps}).empty();
        };
        sequence.steps = Shrunk(sequence.steps, fails);
        std::string log;
        const std::string failure = FailureOf(sequence, &log);
        return log + "  -> " + failure;
    }
};

class ModelSequences : public Model, public testing::WithParamInterface<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Parts, ModelSequences, testing::Range(0u, 10u));

TEST_P(ModelSequences, LeaveEveryBitmapAsTheModelHasIt) {
    const unsigned first = GetParam() * 1000 + 1;
    int failures = 0;
    for (unsigned seed = first; seed < first + kSequencesOfAPart && failures < 3; ++seed) {
        const std::string failure = ShortFailure(RandomSequence(seed));
        if (failure.empty()) continue;
        ++failures;
        ADD_FAILURE() << "seed " << seed << ", shortened to\n" << failure;
    }
}

TEST_F(Model, TellsAllOfOneSequence) {
    const char* seed = std::getenv("ZBM_MODEL_SEED");
    if (seed == nullptr) GTEST_SKIP() << "no seed is given";
    std::string log;
    const std::string failure = FailureOf(RandomSequence(static_cast<unsigned>(std::strtoul(seed, nullptr, 10))), &log);
    std::cout << log;
    EXPECT_EQ(failure, "");
}

TEST_F(Model, FindsAFaultOutAndTellsItInAsFewStepsAsItTakes) {
    std::string failure;
    for (unsigned seed = 1; seed < 100 && failure.empty(); ++seed) {
        Sequence sequence = RandomSequence(seed);
        sequence.kinds[0] = Kind::faulty;
        failure = ShortFailure(sequence);
    }
    EXPECT_LE(std::count(failure.begin(), failure.end(), '\n'), 3) << failure;
    EXPECT_NE(failure.find("SetMask"), failure.npos) << failure;
}

TEST(Shrinking, LeavesWhatItTakesToFail) {
    std::vector<int> steps(50);
    std::iota(steps.begin(), steps.end(), 0);
    const auto fails = [](const std::vector<int>& left) {
        const auto has = [&](int step) { return std::count(left.begin(), left.end(), step) > 0; };
        return has(3) && has(17) && has(40);
    };
    EXPECT_EQ(Shrunk(steps, fails), (std::vector<int>{3, 17, 40}));
}

}  // namespace
