#include "Platform/DragDataRetry.h"

#include <gtest/gtest.h>

using namespace tramix;
using namespace std::chrono_literals;

TEST(DragDataRetry, AsksAgainAfterGrowingWaitsWithinItsBudget) {
    DragDataRetry retry;
    auto now = DragDataRetry::Clock::now();
    ASSERT_TRUE(retry.mayAsk(now));
    retry.asked(now);
    EXPECT_FALSE(retry.mayAsk(now + 1ms)) << "one request at a time while its answer may come";

    // A dropped request is given up on after a while; each later one is given longer.
    auto firstGiveUp = 1ms;
    while (!retry.mayAsk(now + firstGiveUp))
        firstGiveUp += 1ms;
    retry.asked(now += firstGiveUp);
    auto secondGiveUp = 1ms;
    while (!retry.mayAsk(now + secondGiveUp))
        secondGiveUp += 1ms;
    EXPECT_GT(secondGiveUp, firstGiveUp);

    // A refusal is followed sooner than silence, and the asking ends after a few seconds.
    retry.answered(now += 5ms, false);
    EXPECT_TRUE(retry.mayAsk(now + secondGiveUp - 1ms));
    int requests = retry.requests();
    auto lastAsked = 0ms;
    for (auto t = 0ms; t < 60s; t += 1ms) {
        if (retry.mayAsk(now + t)) {
            retry.asked(now + t);
            ++requests;
            lastAsked = t;
        }
    }
    EXPECT_GE(requests, 5);
    EXPECT_GT(lastAsked, 2s) << "a slow source is given a few seconds";
    EXPECT_LT(lastAsked, 10s) << "a source that never answers is not asked for ever";

    // New drag data starts afresh; an answer with files ends the asking at once.
    retry.restart();
    now += 60s;
    ASSERT_TRUE(retry.mayAsk(now));
    retry.asked(now);
    retry.answered(now + 1ms, true);
    EXPECT_TRUE(retry.done());
    EXPECT_FALSE(retry.mayAsk(now + 60s));
}
