// The process entry.
#include "host/main_loop.h"

#include <cstdio>

int main(int argc, char** argv) {
    (void)argc;
    (void)argv;
    std::printf("nemu %s\n", NEMU_VERSION);
    return 0;
}
