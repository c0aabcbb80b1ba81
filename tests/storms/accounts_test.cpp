// The accounts notice every way in which a request can go astray.
#include "tests/storms/accounts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using storms::Accounts;
using storms::Allowance;
using storms::Outcome;
using storms::Seen;
using storms::Sightings;
using storms::Told;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr Seen kAnswered{.posted = 1, .published = 1, .publishedInVain = 0};
constexpr Seen kInVain{.posted = 1, .published = 1, .publishedInVain = 1};
constexpr Seen kNotStored{.posted = 1, .published = 0, .publishedInVain = 0};

Told told(Outcome outcome, bool accepted = true) {
    return {.channel = "c", .accepted = accepted, .outcome = outcome, .messageId = {}};
}

std::vector<std::string> violations(const Told& request, const Sightings& sightings,
                                    const Allowance& allowance = {}) {
    return storms::settle({request}, sightings, {{"c", 1}}, allowance).violations;
}

TEST(Accounts, AreContentWithOneAnswer) {
    EXPECT_THAT(violations(told(Outcome::answered), {{"c", kAnswered}}), IsEmpty());
}

TEST(Accounts, AreContentWhenThePublisherMissedTheConfirmationOfAnAnswerThatCame) {
    EXPECT_THAT(violations(told(Outcome::answered), {{"c", kInVain}}), IsEmpty());
}

TEST(Accounts, AreContentWhenTheRequesterWasTold) {
    EXPECT_THAT(violations(told(Outcome::nobody, false), {}), IsEmpty());
    EXPECT_THAT(violations(told(Outcome::refused, false), {}), IsEmpty());
    EXPECT_THAT(violations(told(Outcome::cutOff, false), {}), IsEmpty());
    EXPECT_THAT(violations(told(Outcome::cutOff), {{"c", kInVain}}), IsEmpty());
}

TEST(Accounts, NoticeASecondAnswer) {
    const Seen twice{.posted = 1, .published = 2, .publishedInVain = 1};
    EXPECT_THAT(violations(told(Outcome::cutOff), {{"c", twice}}),
                ElementsAre(HasSubstr("answered twice")));
    EXPECT_THAT(
        storms::settle({told(Outcome::answered)}, {{"c", kAnswered}}, {{"c", 2}}, {}).violations,
        ElementsAre(HasSubstr("two answers")));
}

TEST(Accounts, NoticeASecondTaking) {
    const Seen twice{.posted = 2, .published = 1, .publishedInVain = 0};
    EXPECT_THAT(violations(told(Outcome::answered), {{"c", twice}}),
                ElementsAre(HasSubstr("taken twice")));
}

TEST(Accounts, NoticeAnAnswerThatTheDaemonDidNotGive) {
    EXPECT_THAT(violations(told(Outcome::answered), {{"c", kNotStored}}),
                ElementsAre(HasSubstr("somebody else")));
}

TEST(Accounts, NoticeAWrongNumberOfReceivers) {
    EXPECT_THAT(violations(told(Outcome::nobody, false), {{"c", kAnswered}}),
                ElementsAre(HasSubstr("nobody listens")));
}

TEST(Accounts, NoticeAnAnswerThatWasPublishedAndNotHeard) {
    EXPECT_THAT(violations(told(Outcome::unanswered), {{"c", kAnswered}},
                           {.lost = 9, .dropped = 9, .givenUp = 9, .storeDied = true}),
                ElementsAre(HasSubstr("heard nothing")));
}

TEST(Accounts, NoticeAMissingMessageUnlessTheStoreDied) {
    Told request = told(Outcome::cutOff);
    request.messageMissing = true;
    EXPECT_THAT(violations(request, {{"c", kAnswered}}), ElementsAre(HasSubstr("not there")));
    EXPECT_THAT(violations(request, {{"c", kAnswered}}, {.storeDied = true}), IsEmpty());
}

TEST(Accounts, AllowNoMoreLossesThanTheFaultExplains) {
    EXPECT_THAT(violations(told(Outcome::cutOff), {}, {.lost = 1}), IsEmpty());
    EXPECT_THAT(violations(told(Outcome::cutOff), {}, {.dropped = 1}),
                ElementsAre(HasSubstr("1 requests were lost")));
}

TEST(Accounts, TellALossWithTheStoreFromOneOnTheWayToTheDaemon) {
    EXPECT_THAT(violations(told(Outcome::unanswered), {}, {.dropped = 1}), IsEmpty());
    EXPECT_THAT(violations(told(Outcome::unanswered), {}, {.lost = 1, .givenUp = 1}),
                ElementsAre(HasSubstr("1 requests were dropped")));
}

TEST(Accounts, AllowNoMoreInVainThanTheFaultExplains) {
    for (const Seen& seen : {kInVain, kNotStored}) {
        EXPECT_THAT(violations(told(Outcome::unanswered), {{"c", seen}}, {.givenUp = 1}),
                    IsEmpty());
        EXPECT_THAT(violations(told(Outcome::unanswered), {{"c", seen}}),
                    ElementsAre(HasSubstr("1 requests were given up")));
    }
}

TEST(Accounts, CountEachEndOnce) {
    const Accounts accounts =
        storms::settle({told(Outcome::answered), told(Outcome::nobody, false),
                        told(Outcome::refused, false), told(Outcome::cutOff, false)},
                       {}, {}, {});
    EXPECT_EQ(accounts.requests, 4);
    EXPECT_EQ(accounts.answered + accounts.nobody + accounts.refused + accounts.cutOff, 4);
}

} // namespace
