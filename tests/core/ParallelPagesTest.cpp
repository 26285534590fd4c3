#include "ParallelPages.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

using namespace tramix;

TEST(ParallelPages, EveryPageOnceEachThreadPreparedOnceAndTheFirstFailureThrown) {
    std::mutex lock;
    std::multiset<int> done;
    std::set<std::thread::id> prepared;
    std::atomic<int> preparations = 0;
    ParallelPages::run(50, 4, [&] {
        ++preparations;
        std::lock_guard guard(lock);
        prepared.insert(std::this_thread::get_id());
        return [&](int index) {
            std::lock_guard inner(lock);
            done.insert(index);
        };
    });
    EXPECT_EQ(done.size(), 50u);
    for (int index = 0; index < 50; ++index)
        EXPECT_EQ(done.count(index), 1u) << index;
    EXPECT_EQ(preparations, int(prepared.size()));
    EXPECT_LE(preparations, 4);

    std::vector<int> started;
    EXPECT_THROW(ParallelPages::run(10, 1,
                                    [&] {
                                        return [&](int index) {
                                            started.push_back(index);
                                            if (index == 3)
                                                throw std::runtime_error("page 4 is broken");
                                        };
                                    }),
                 std::runtime_error);
    EXPECT_EQ(started, (std::vector<int>{0, 1, 2, 3}));

    bool prepareCalled = false;
    ParallelPages::run(0, 4, [&] {
        prepareCalled = true;
        return [](int) {};
    });
    EXPECT_FALSE(prepareCalled);
}

TEST(ParallelPages, WorkIsOnlyPartedWhenAHelperIsFree) {
    std::atomic<int> done = 0;
    auto count = [&] { return [&](int) { ++done; }; };
    EXPECT_TRUE(ParallelPages::runIfHelped(12, 2, count));
    EXPECT_EQ(done, 12);

    // A document worked on by every helper there is leaves none for its pages' parts.
    done = 0;
    std::atomic<int> parted = 0, refused = 0;
    ParallelPages::run(200, 64, [&] {
        return [&](int) { (ParallelPages::runIfHelped(4, 2, count) ? parted : refused)++; };
    });
    EXPECT_GT(refused, 0);
    EXPECT_EQ(done, 4 * parted);
    EXPECT_FALSE(ParallelPages::runIfHelped(1, 2, count));
    EXPECT_FALSE(ParallelPages::runIfHelped(4, 1, count));
    EXPECT_EQ(done, 4 * parted);
}
