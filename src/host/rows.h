// Worker threads for row-by-row pixel work: a range of rows is split over the processors
// for the time of one call. No pool, no queue, no lock.
#pragma once
#include <cstdint>

namespace nemu {

struct RowJob;
// Works on rows first to last (inclusive) and touches nothing else; job is null when the
// whole range runs on the calling thread in one go. Large scratch comes through userData
// (per part by PartIndex), never from the stack.
using RowFunction = uint32_t (*)(RowJob* job, int first, int last, void* userData);

struct RowJob {
    int32_t PartCount;
    int32_t PartIndex;
    int32_t IsThread; // 1 for a part on its own thread
    int32_t FirstRow, LastRow;
    int32_t TotalRows;
    uint32_t Result;
    RowFunction Function;
    void* UserData;
};

extern int32_t ProcessorCount; // 0 until first needed
constexpr int32_t MaxProcessors = 64;

// Splits rows firstRow to lastRow over the processors and waits for all parts, keeping the
// window serviced meanwhile. With one processor it returns the function's result, else 1.
uint32_t RunOnRows(RowFunction function, int firstRow, int lastRow, void* userData);
// The processor count as RunOnRows finds it: NUMBER_OF_PROCESSORS, else the machine's.
int32_t FindProcessorCount();

} // namespace nemu
