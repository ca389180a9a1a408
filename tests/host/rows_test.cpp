#include "host/rows.h"

#include "host_fixture.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

using namespace nemu;

namespace {

struct Seen {
    std::mutex Lock;
    std::vector<RowJob> Jobs;
    int NullCalls = 0;
    int First = -1, Last = -1;
};

uint32_t Record(RowJob* job, int first, int last, void* user) {
    auto* seen = static_cast<Seen*>(user);
    std::lock_guard<std::mutex> hold(seen->Lock);
    if (!job) {
        seen->NullCalls++;
        seen->First = first;
        seen->Last = last;
        return 77;
    }
    EXPECT_EQ(first, job->FirstRow);
    EXPECT_EQ(last, job->LastRow);
    seen->Jobs.push_back(*job);
    return 0;
}

std::vector<std::pair<int, int>> Parts(Seen& seen) {
    std::vector<std::pair<int, int>> parts(seen.Jobs.size());
    for (const RowJob& j : seen.Jobs) parts[size_t(j.PartIndex)] = {j.FirstRow, j.LastRow};
    return parts;
}

} // namespace

TEST(Rows, SplitsAsTheRunningPositionFalls) {
    struct Case {
        int Processors, First, Last;
        std::vector<std::pair<int, int>> Expected;
    } cases[] = {
        {3, 0, 99, {{0, 32}, {33, 65}, {66, 99}}},
        {8, 0, 2, {{0, 0}, {1, 1}, {2, 2}}},
        {2, 10, 14, {{10, 11}, {12, 14}}},
    };
    int n = 0;
    for (const Case& c : cases) {
        ProcessorCount = c.Processors;
        Seen seen;
        EXPECT_EQ(RunOnRows(Record, c.First, c.Last, &seen), 1u);
        EXPECT_EQ(Parts(seen), c.Expected) << "case " << n;
        EXPECT_EQ(seen.NullCalls, 0);
        for (const RowJob& j : seen.Jobs) {
            EXPECT_EQ(j.PartCount, int(c.Expected.size()));
            EXPECT_EQ(j.IsThread, j.PartIndex == j.PartCount - 1 ? 0 : 1) << "case " << n;
        }
        n++;
    }
}

TEST(Rows, OneProcessorRunsTheWholeRangeWithANullJob) {
    ProcessorCount = 1;
    Seen seen;
    EXPECT_EQ(RunOnRows(Record, 5, 500, &seen), 77u);
    EXPECT_EQ(seen.NullCalls, 1);
    EXPECT_EQ(seen.First, 5);
    EXPECT_EQ(seen.Last, 500);
}

TEST(Rows, ProcessorCountComesFromTheEnvironmentWithinLimits) {
    setenv("NUMBER_OF_PROCESSORS", "200", 1);
    EXPECT_EQ(FindProcessorCount(), 64);
    setenv("NUMBER_OF_PROCESSORS", "0", 1);
    EXPECT_EQ(FindProcessorCount(), 1);
    setenv("NUMBER_OF_PROCESSORS", "6", 1);
    EXPECT_EQ(FindProcessorCount(), 6);
    unsetenv("NUMBER_OF_PROCESSORS");
    EXPECT_GE(FindProcessorCount(), 1);
}

TEST(Rows, EveryRowIsDoneOnceAcrossThreads) {
    ProcessorCount = 7;
    std::vector<std::atomic<int>> counts(1000);
    auto touch = [](RowJob*, int first, int last, void* user) -> uint32_t {
        auto* c = static_cast<std::vector<std::atomic<int>>*>(user);
        for (int r = first; r <= last; r++) (*c)[size_t(r)]++;
        return 0;
    };
    RunOnRows(touch, 0, 999, &counts);
    for (int r = 0; r < 1000; r++) ASSERT_EQ(counts[size_t(r)].load(), 1) << "row " << r;
}

TEST(Rows, TheWaitKeepsTheWindowServiced) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    ProcessorCount = 2;
    QueueNative(WM_CLOSE); // must be handled while the long part runs
    auto slow = [](RowJob* job, int, int, void*) -> uint32_t {
        if (job && job->IsThread) std::this_thread::sleep_for(std::chrono::milliseconds(1300));
        return 0;
    };
    RunOnRows(slow, 0, 9, nullptr);
    EXPECT_EQ(CloseRequest, 1);
}
