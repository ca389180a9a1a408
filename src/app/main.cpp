// The process entry: the command line, the choice of back end, and batch mode.
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/remote.h"
#include "script/command_host.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

using namespace nemu;

namespace {

const char HelpText[] = "Usage: nemu [options] [files...]\n"
                        "\n"
                        "Paint and animation program for video work.\n"
                        "\n"
                        "Options:\n"
                        "  --headless      run without a window, on an in-memory screen (also when DISPLAY\n"
                        "                  is not set); the program ends once it has nothing left to do\n"
                        "  --serve         with --headless: stay and serve remote commands until SIGINT or\n"
                        "                  SIGTERM\n"
                        "  --size WxH      size of the page when no file is opened (default 640x480)\n"
                        "  -c TEXT         run a command of the command language after start-up and print\n"
                        "                  its reply on a line of its own; may be given many times\n"
                        "  --script FILE   run each line of FILE as a command, in the same way; blank lines\n"
                        "                  and lines starting with # are skipped\n"
                        "  --help          show this text and end\n"
                        "\n"
                        "Commands run after start-up, in the order given, and then the program ends.\n"
                        "Exit status: 0 when every command ran; 2 when any command, or any bracketed\n"
                        "group of one, had an unknown name or replied an error (the others still run);\n"
                        "1 when start-up failed; 128 plus the signal's number (130, 143) when SIGINT or\n"
                        "SIGTERM stopped the run, which ends at the next command or break check.\n"
                        "\n"
                        "Remote commands: a running Nemu listens on a socket in $XDG_RUNTIME_DIR/nemu\n"
                        "(else $XDG_CACHE_HOME/nemu/run); the program nemu-remote, installed beside\n"
                        "nemu, sends commands to it (see nemu-remote --help), and programs that Nemu\n"
                        "starts find the socket in $NEMU_SOCKET.\n"
                        "\n"
                        "Files: settings and profiles in $XDG_CONFIG_HOME/nemu (Nemu.INI, configs/), the\n"
                        "messages and other read-only data in data/ beside the program or, installed,\n"
                        "in PREFIX/share/nemu, temporary files in $XDG_CACHE_HOME/nemu.\n";

struct Options {
    bool Headless = false;
    bool Serve = false;
    int Width = 640, Height = 480;
    std::vector<std::string> Commands;
    std::vector<std::string> Files;
};

std::vector<std::string> BatchCommands;
int BatchStatus = 0;

bool ParseSize(const char* text, int* w, int* h) {
    char* end = nullptr;
    long a = std::strtol(text, &end, 10);
    if (end == text || (*end != 'x' && *end != 'X')) return false;
    const char* second = end + 1;
    long b = std::strtol(second, &end, 10);
    if (end == second || *end) return false;
    if (a < 1 || b < 1 || a > 65535 || b > 65535) return false;
    *w = int(a);
    *h = int(b);
    return true;
}

bool ReadScript(const char* path, std::vector<std::string>& out) {
    FILE* f = std::fopen(path, "r");
    if (!f) return false;
    std::string line;
    int c;
    auto take = [&]() {
        size_t start = line.find_first_not_of(" \t\r");
        if (start != std::string::npos && line[start] != '#') {
            while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t'))
                line.pop_back();
            out.push_back(line.substr(start));
        }
        line.clear();
    };
    while ((c = std::fgetc(f)) != EOF) {
        if (c == '\n')
            take();
        else
            line += char(c);
    }
    if (!line.empty()) take();
    std::fclose(f);
    return true;
}

// Returns -1 to go on, else the exit status.
int ParseArguments(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; i++) {
        const char* a = argv[i];
        auto value = [&](const char* name) -> const char* {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "nemu: %s needs a value (see nemu --help)\n", name);
                return nullptr;
            }
            return argv[++i];
        };
        if (!std::strcmp(a, "--help") || !std::strcmp(a, "-h")) {
            std::fputs(HelpText, stdout);
            return 0;
        } else if (!std::strcmp(a, "--headless")) {
            o.Headless = true;
        } else if (!std::strcmp(a, "--serve")) {
            o.Serve = true;
        } else if (!std::strcmp(a, "--size")) {
            const char* v = value(a);
            if (!v) return 1;
            if (!ParseSize(v, &o.Width, &o.Height)) {
                std::fprintf(stderr, "nemu: --size wants WIDTHxHEIGHT, each 1 to 65535, not \"%s\"\n", v);
                return 1;
            }
        } else if (!std::strcmp(a, "-c")) {
            const char* v = value(a);
            if (!v) return 1;
            o.Commands.push_back(v);
        } else if (!std::strcmp(a, "--script")) {
            const char* v = value(a);
            if (!v) return 1;
            if (!ReadScript(v, o.Commands)) {
                std::fprintf(stderr, "nemu: cannot read script %s: %s\n", v, std::strerror(errno));
                return 1;
            }
        } else if (!std::strcmp(a, "--")) {
            for (i++; i < argc; i++) o.Files.push_back(argv[i]);
        } else if (a[0] == '-' && a[1]) {
            std::fprintf(stderr, "nemu: unknown option %s (see nemu --help)\n", a);
            return 1;
        } else {
            o.Files.push_back(a);
        }
    }
    return -1;
}

// The start files as one string: blank separated, quoted where a name holds blanks.
std::string StartFileList(const std::vector<std::string>& files) {
    std::string list;
    for (const auto& f : files) {
        if (!list.empty()) list += ' ';
        if (f.find_first_of(" \t") != std::string::npos)
            list += '"' + f + '"';
        else
            list += f;
    }
    return list;
}

void RunBatch() {
    auto* request = new (std::nothrow) CommandRequest;
    if (!request) {
        std::fprintf(stderr, "nemu: out of memory\n");
        BatchStatus = 1;
        QuitFlag = 1;
        return;
    }
    for (const auto& text : BatchCommands) {
        if (PlatformStopSignal()) break;
        *request = CommandRequest{};
        request->Text = text.c_str();
        RunCommandText(request);
        // Each reply as soon as it stands, so that a long batch shows how far it got.
        std::printf("%s\n", request->Reply);
        std::fflush(stdout);
        // An unknown name in a bracketed row answers "[]" as a command without a result
        // does, and an error may stand in any group: the host counts both.
        if (RequestFaulty(request)) BatchStatus = 2;
        if (QuitFlag) break;
    }
    if (int signal = PlatformStopSignal()) BatchStatus = 128 + signal;
    delete request;
    QuitFlag = 1;
}

} // namespace

int main(int argc, char** argv) {
    Options o;
    int early = ParseArguments(argc, argv, o);
    if (early >= 0) return early;
    const char* display = std::getenv("DISPLAY");
    bool headless = o.Headless || !display || !*display;
    StartBackend = headless ? BACKEND_HEADLESS : BACKEND_X11;
    StartPageWidth = o.Width;
    StartPageHeight = o.Height;
    // With nothing to watch for, a headless run ends when its queue runs dry.
    if (headless && !o.Serve) HeadlessCloseWhenIdle(true);
    if (!o.Commands.empty()) {
        BatchCommands = o.Commands;
        AfterStartHook = RunBatch;
    }
    int status = ProgramStart(StartFileList(o.Files).c_str());
    std::fflush(stdout);
    if (status != 0) return status;
    return BatchStatus;
}
