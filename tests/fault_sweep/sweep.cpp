// The loops of the sweep.
#include "tests/fault_sweep/sweep.h"

#include "tests/doubles/platform_doubles.h"

#include <gtest/gtest.h>
#include <set>

namespace fault_sweep {

namespace {

Counts& total() {
    static auto* const counts = new Counts;
    return *counts;
}

std::vector<doubles::RecordedCall> callsThatCanFail(const RecordedRun& run) {
    std::vector<doubles::RecordedCall> calls;
    for (const doubles::RecordedCall& call : run.calls) {
        if (call.canFail) {
            calls.push_back(call);
        }
    }
    return calls;
}

std::string show(const Plan& plan) {
    std::string text = "failing:";
    for (const Planned& planned : plan) {
        text += " call " + std::to_string(planned.number) + " in way " +
                std::to_string(static_cast<int>(planned.fault.shape)) + " with code " +
                std::to_string(planned.fault.code) + (planned.andLater ? " and all later" : "");
    }
    return text;
}

// Whether no sweep has met this call yet.
bool isNew(const std::string& call) {
    static auto* const met = new std::set<std::string>;
    return met->insert(call).second;
}

class Sweep {
public:
    Sweep(Where where, const RunOnce& once, Extent extent)
        : where_(where), once_(once), extent_(extent) {}

    Counts all() {
        const auto calls = callsThatCanFail(run({}));
        ++counts_.successful;
        EXPECT_FALSE(calls.empty());
        int swept = 0;
        for (std::size_t i = 0; i < calls.size() && !testing::Test::HasFatalFailure(); ++i) {
            if (extent_ != Extent::newCalls || isNew(calls[i].text)) {
                failCall(static_cast<int>(i) + 1, failingResults(calls[i].text));
                ++swept;
            }
        }
        // At least one single and one lasting fault per call.
        EXPECT_GE(counts_.single, swept);
        EXPECT_EQ(counts_.lasting, swept);
        return counts_;
    }

private:
    void failCall(int number, const std::vector<doubles::Fault>& ways) {
        ASSERT_FALSE(ways.empty()) << "no row for call " << number;
        for (const doubles::Fault& way : ways) {
            const auto calls = callsThatCanFail(run({{number, way}}));
            ++counts_.single;
            ASSERT_GE(calls.size(), static_cast<std::size_t>(number));
            if (calls.size() > static_cast<std::size_t>(number)) {
                failNeighbour(number, way, calls[static_cast<std::size_t>(number)].text);
            }
        }
        run({{number, ways.front(), true}});
        ++counts_.lasting;
    }

    void failNeighbour(int number, const doubles::Fault& first, const std::string& next) {
        const std::vector<doubles::Fault> ways = failingResults(next);
        ASSERT_FALSE(ways.empty()) << "no row for " << next;
        if (extent_ != Extent::everything) {
            return;
        }
        for (const doubles::Fault& second : ways) {
            run({{number, first}, {number + 1, second}});
            ++counts_.pairs;
        }
    }

    // The planned faults must have happened; a single one must be logged as in the table.
    RecordedRun run(const Plan& plan) {
        SCOPED_TRACE(show(plan));
        RecordedRun run = once_(plan);
        const auto calls = callsThatCanFail(run);
        for (const Planned& planned : plan) {
            const auto index = static_cast<std::size_t>(planned.number) - 1;
            const bool met = index < calls.size() && calls[index].fault == planned.fault;
            EXPECT_TRUE(met) << "the fault was not met";
            if (met && plan.size() == 1 && !planned.andLater) {
                const Telling telling = tellingOf(calls[index], where_);
                EXPECT_NE((run.output + run.errors).find(telling.words), std::string::npos)
                    << calls[index].text << " has failed and is not told";
            }
        }
        return run;
    }

    Where where_;
    const RunOnce& once_;
    Extent extent_;
    Counts counts_;
};

} // namespace

Counts& Counts::operator+=(const Counts& other) {
    successful += other.successful;
    single += other.single;
    lasting += other.lasting;
    pairs += other.pairs;
    return *this;
}

void arm(const Plan& plan) {
    for (const Planned& planned : plan) {
        if (planned.andLater) {
            doubles::failCallAndLater(planned.number, planned.fault);
        } else {
            doubles::failCall(planned.number, planned.fault);
        }
    }
}

Counts sweep(Where where, const RunOnce& once, Extent extent) {
    const Counts counts = Sweep(where, once, extent).all();
    if (extent == Extent::everything) { // the others are among these
        total() += counts;
    }
    testing::Test::RecordProperty("runs", counts.total());
    return counts;
}

const Counts& totalCounts() {
    return total();
}

} // namespace fault_sweep
