// Row workers. Each call makes its threads and joins them before returning; while it
// waits, the window's own messages are still handled once a second, so that it repaints.
#include "host/rows.h"

#include "host/input.h"
#include "host/platform.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <system_error>
#include <thread>

namespace nemu {

int32_t ProcessorCount = 0;

int32_t FindProcessorCount() {
    long n = 0;
    if (const char* env = std::getenv("NUMBER_OF_PROCESSORS"))
        n = std::strtol(env, nullptr, 10);
    else
        n = long(std::thread::hardware_concurrency());
    if (n < 1) n = 1;
    if (n > MaxProcessors) n = MaxProcessors;
    return int32_t(n);
}

namespace {

struct Finish {
    std::mutex Lock;
    std::condition_variable Done;
    int Running = 0;
};

void RunPart(RowJob* job, Finish* finish) {
    job->Result = job->Function(job, job->FirstRow, job->LastRow, job->UserData);
    std::lock_guard<std::mutex> hold(finish->Lock);
    finish->Running--;
    finish->Done.notify_all();
}

} // namespace

uint32_t RunOnRows(RowFunction function, int firstRow, int lastRow, void* userData) {
    if (ProcessorCount == 0) ProcessorCount = FindProcessorCount();
    if (ProcessorCount < 2) return function(nullptr, firstRow, lastRow, userData);

    int rows = lastRow - firstRow + 1;
    if (rows < 1) return 1;
    int parts = ProcessorCount < rows ? ProcessorCount : rows;
    double size = double(rows) / parts;

    RowJob jobs[MaxProcessors];
    std::thread threads[MaxProcessors];
    Finish finish;
    double position = firstRow;
    for (int i = 0; i < parts; i++) {
        RowJob& job = jobs[i];
        job =
            RowJob{parts, i, 0, int32_t(position), int32_t(position + size - 1), rows, 0, function, userData};
        if (i == parts - 1) job.LastRow = lastRow;
        position += size;
        if (i == parts - 1) break;
        job.IsThread = 1;
        {
            std::lock_guard<std::mutex> hold(finish.Lock);
            finish.Running++;
        }
        try {
            threads[i] = std::thread(RunPart, &job, &finish);
        } catch (const std::system_error&) {
            {
                std::lock_guard<std::mutex> hold(finish.Lock);
                finish.Running--;
            }
            PlatformMessageBox("erreur thread", "Nemu");
            job.IsThread = 0;
            job.Result = function(&job, job.FirstRow, job.LastRow, userData);
        }
    }
    // The last part always runs here, after the others have started.
    RowJob& last = jobs[parts - 1];
    last.Result = function(&last, last.FirstRow, last.LastRow, userData);

    for (;;) {
        {
            std::unique_lock<std::mutex> hold(finish.Lock);
            if (finish.Done.wait_for(hold, std::chrono::milliseconds(1000),
                                     [&] { return finish.Running == 0; }))
                break;
        }
        // Still working after a second: serve the window (repaints, a close request),
        // then wait again. Remote requests are put aside for the main loop.
        DrainInput();
    }
    for (int i = 0; i < parts; i++)
        if (threads[i].joinable()) threads[i].join();
    return 1;
}

} // namespace nemu
