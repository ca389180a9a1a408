// The remote-command door, with real client processes: the nemu-remote tool, and forked
// children that speak the wire format by hand (or misbehave).
#include "host/remote.h"

#include "host_fixture.h"
#include "support/temp_files.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

extern char** environ;

using namespace nemu;

namespace {

// The command host's own runner, which the door of most tests replaces.
void (*const CommandHostRun)(RemoteRequest*) = RunRemoteCommand;

void Echo(RemoteRequest* request) {
    std::snprintf(request->ResultText, sizeof request->ResultText, "echo:%s", request->Text);
    request->HasResult = 1;
    ReplyRemote(request);
}

struct Child {
    pid_t Pid = -1;
    int Out = -1; // its standard output, when captured
    std::string Output;
    int Status = -1;
};

Child SpawnTool(const std::vector<std::string>& args) {
    Child c;
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) return c;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    std::vector<std::string> all = {NEMU_BINARY_DIR "/nemu-remote"};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    posix_spawn(&c.Pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    c.Out = pipeFds[0];
    fcntl(c.Out, F_SETFL, O_NONBLOCK);
    return c;
}

// Forks a child that runs body and exits with its result.
template <typename F> Child Fork(F body) {
    Child c;
    c.Pid = fork();
    if (c.Pid == 0) _exit(body());
    return c;
}

void Collect(Child& c) {
    if (c.Out < 0) return;
    char buf[4096];
    ssize_t n;
    while ((n = read(c.Out, buf, sizeof buf)) > 0) c.Output.append(buf, size_t(n));
}

// Serves the door the way the main loop does (requests wait while a button is held)
// until every child has ended.
void ServeUntilDone(std::vector<Child*> children, double limit = 60) {
    double start = PlatformSeconds();
    for (;;) {
        bool running = false;
        for (Child* c : children) {
            Collect(*c);
            if (c->Status < 0) {
                int st;
                if (waitpid(c->Pid, &st, WNOHANG) == c->Pid) {
                    c->Status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
                    Collect(*c);
                    close(c->Out);
                } else {
                    running = true;
                }
            }
        }
        if (!running) {
            // A few more rounds, so that the door notices the clients that went.
            for (int i = 0; i < 5; i++) {
                WaitForInput(1);
                PumpAndDispatch(!LeftHeld && !RightHeld);
            }
            return;
        }
        if (PlatformSeconds() - start > limit) {
            ADD_FAILURE() << "clients still running";
            for (Child* c : children)
                if (c->Status < 0) kill(c->Pid, SIGKILL);
        }
        WaitForInput(1);
        PumpAndDispatch(!LeftHeld && !RightHeld);
    }
}

Child RunTool(const std::vector<std::string>& args) {
    Child c = SpawnTool(args);
    ServeUntilDone({&c});
    return c;
}

int ConnectTo(const char* path) {
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strncpy(addr.sun_path, path, sizeof addr.sun_path - 1);
    if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

std::string Frame(char kind, const std::string& text) {
    uint32_t n = uint32_t(text.size() + 1);
    std::string f = {char(n), char(n >> 8), char(n >> 16), char(n >> 24), kind};
    return f + text;
}

// Reads one reply frame: its kind and body; kind 0 when the connection closed first.
std::pair<char, std::string> ReadFrame(int fd) {
    unsigned char h[5];
    size_t got = 0;
    while (got < 5) {
        ssize_t r = read(fd, h + got, 5 - got);
        if (r <= 0) return {0, ""};
        got += size_t(r);
    }
    uint32_t n = uint32_t(h[0]) | uint32_t(h[1]) << 8 | uint32_t(h[2]) << 16 | uint32_t(h[3]) << 24;
    std::string body(n - 1, '\0');
    for (size_t k = 0; k < body.size();) {
        ssize_t r = read(fd, body.data() + k, body.size() - k);
        if (r <= 0) return {0, ""};
        k += size_t(r);
    }
    return {char(h[4]), body};
}

struct Door : HeadlessHost {
    Door() : HeadlessHost(200, 200, 40, 30, 10, 10) {
        RunRemoteCommand = Echo;
        EXPECT_EQ(RemoteOpen(), 1);
        Path = RemoteSocketPath();
    }
    ~Door() {
        RunRemoteCommand = CommandHostRun;
        RemoteIdleSeconds = RemoteIdleLimit;
        BreakRequested = 0; // an execute's break is not taken by its answer
    }
    std::string Path;
};

// Whether the server has closed a connection: its end reads as end of file.
bool ClosedByServer(int fd) {
    char c;
    return recv(fd, &c, 1, MSG_DONTWAIT) == 0;
}

// Serves the door for a while.
void ServeFor(double seconds) {
    double start = PlatformSeconds();
    while (PlatformSeconds() - start < seconds) {
        WaitForInput(1);
        PumpAndDispatch(!LeftHeld && !RightHeld);
    }
}

} // namespace

TEST(Remote, RequestExecuteAndUnknown) {
    Door door;
    EXPECT_EQ(std::getenv("NEMU_SOCKET"), door.Path);
    Child a = RunTool({"hello", "world"});
    EXPECT_EQ(a.Status, 0);
    EXPECT_EQ(a.Output, "echo:hello world\n");
    Child b = RunTool({"--execute", "anything"});
    EXPECT_EQ(b.Status, 0);
    EXPECT_EQ(b.Output, "");
    RunRemoteCommand = [](RemoteRequest* r) { ReplyRemote(r); }; // nothing known
    Child c = RunTool({"om_nothing"});
    EXPECT_EQ(c.Status, 2);
    // Text that merely reads like an error is not one: the command host says what failed.
    RunRemoteCommand = [](RemoteRequest* r) {
        std::strcpy(r->ResultText, "[12][ERROR -1]");
        r->HasResult = 1;
        ReplyRemote(r);
    };
    Child d = RunTool({"x"});
    EXPECT_EQ(d.Status, 0);
    EXPECT_EQ(d.Output, "[12][ERROR -1]\n");
    RunRemoteCommand = [](RemoteRequest* r) {
        std::strcpy(r->ResultText, "[][12]");
        r->HasResult = 1;
        r->Faulty = 1;
        ReplyRemote(r);
    };
    Child e = RunTool({"x"});
    EXPECT_EQ(e.Status, 2);
    EXPECT_EQ(e.Output, "[][12]\n");
}

TEST(Remote, CommandsRunThroughTheCommandHost) {
    HeadlessHost host(200, 200, 40, 30, 10, 10);
    ASSERT_EQ(RemoteOpen(), 1);
    Child c = RunTool({"[om_getwidth]", "[om_getheight]"});
    EXPECT_EQ(c.Output, "[40][30]\n");
    EXPECT_EQ(c.Status, 0);
    // A fault in any group, not only the last, is reported.
    Child unknown = RunTool({"[om_nosuchthing] [om_getwidth]"});
    EXPECT_EQ(unknown.Output, "[][40]\n");
    EXPECT_EQ(unknown.Status, 2);
    Child blank = RunTool({"[ om_getwidth] [om_getheight]"});
    EXPECT_EQ(blank.Output, "[][30]\n");
    EXPECT_EQ(blank.Status, 2);
    Child error = RunTool({"[om_readuserstring] [om_getheight]"});
    EXPECT_EQ(error.Output, "[ERROR -1][30]\n");
    EXPECT_EQ(error.Status, 2);
    // An execute is acknowledged by its status alone, which cannot tell of that.
    EXPECT_EQ(RunTool({"--execute", "[om_nosuchthing] [om_getwidth]"}).Status, 0);
}

TEST(Remote, ASignalToEndAnswersQueuedRequestsWithABreak) {
    Door door;
    RunRemoteCommand = CommandHostRun;
    QueueButton(WM_LBUTTONDOWN, 20, 20); // holds what arrives in the queue
    PumpAndDispatch(1);
    Child request = SpawnTool({"om_getwidth"});
    Child execute = SpawnTool({"--execute", "om_nop"});
    double start = PlatformSeconds();
    while (RemoteQueueLength() < 2 && PlatformSeconds() - start < 20) {
        WaitForInput(1);
        PumpAndDispatch(0);
    }
    ASSERT_EQ(RemoteQueueLength(), 2);
    std::raise(SIGTERM);
    QueueButton(WM_LBUTTONUP, 20, 20);
    ServeUntilDone({&request, &execute});
    EXPECT_EQ(request.Output, "BREAK\n");
    EXPECT_EQ(request.Status, 2);
    EXPECT_EQ(execute.Status, 2);
    EXPECT_EQ(PlatformStopSignal(), SIGTERM);
    QuitFlag = 0;
    CloseRequest = 0;
}

TEST(Remote, BreakIsReportedAndCleared) {
    Door door;
    RunRemoteCommand = [](RemoteRequest* r) {
        BreakRequested = 1;
        Echo(r);
    };
    Child c = RunTool({"long"});
    EXPECT_EQ(c.Output, "BREAK\n");
    EXPECT_EQ(c.Status, 2);
    EXPECT_EQ(BreakRequested, 0);
    Child e = RunTool({"--execute", "long"});
    EXPECT_EQ(e.Status, 2); // an execute hears a failed status
}

TEST(Remote, RequestWaitsWhileAButtonIsHeld) {
    Door door;
    QueueButton(WM_LBUTTONDOWN, 20, 20);
    PumpAndDispatch(1);
    ASSERT_EQ(LeftHeld, 1);
    Child c = SpawnTool({"during", "stroke"});
    // Until the request has arrived, and a while longer: it must not be answered.
    double start = PlatformSeconds(), arrived = 0;
    while (PlatformSeconds() - start < 20 && (!arrived || PlatformSeconds() - arrived < 0.5)) {
        WaitForInput(1);
        PumpAndDispatch(0);
        if (!arrived && RemoteQueueLength() == 1) arrived = PlatformSeconds();
    }
    EXPECT_EQ(RemoteQueueLength(), 1);
    EXPECT_EQ(waitpid(c.Pid, nullptr, WNOHANG), 0); // still waiting for its answer
    QueueButton(WM_LBUTTONUP, 20, 20);
    ServeUntilDone({&c});
    EXPECT_EQ(c.Output, "echo:during stroke\n");
    EXPECT_EQ(RemoteQueueLength(), 0);
}

TEST(Remote, PeerCredentialsAreChecked) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    EXPECT_EQ(RemotePeerAllowed(pair[0], geteuid()), 1);
    EXPECT_EQ(RemotePeerAllowed(pair[0], geteuid() + 1), 0);
    close(pair[0]);
    close(pair[1]);
    int pipeFds[2];
    ASSERT_EQ(pipe(pipeFds), 0);
    EXPECT_EQ(RemotePeerAllowed(pipeFds[0], geteuid()), 0); // not a socket
    close(pipeFds[0]);
    close(pipeFds[1]);
}

TEST(Remote, AnotherUserIsRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
    Door door;
    std::string path = door.Path;
    // Wholly another user: the private folder keeps it out.
    Child outsider = Fork([&] {
        if (setgid(65534) != 0 || setuid(65534) != 0) return 9;
        return ConnectTo(path.c_str()) < 0 ? 0 : 1;
    });
    // Another user that can still reach the socket (its file access stays root's): the
    // peer check refuses it and nothing it sends is run.
    Child reacher = Fork([&] {
        if (setresuid(65534, 65534, 0) != 0) return 9;
        setfsuid(0);
        int fd = ConnectTo(path.c_str());
        if (fd < 0) return 8;
        std::string f = Frame(REMOTE_REQUEST, "sneaky");
        if (write(fd, f.data(), f.size()) < 0) return 0; // already closed: refused
        return ReadFrame(fd).first == 0 ? 0 : 1;
    });
    ServeUntilDone({&outsider, &reacher});
    EXPECT_EQ(outsider.Status, 0);
    EXPECT_EQ(reacher.Status, 0);
    EXPECT_EQ(RemoteClientCount(), 0);
}

TEST(Remote, HostileFoldersKeepTheDoorClosed) {
    std::string base = std::string(std::getenv("NEMU_TEST_ROOT")) + "/hostile";
    mkdir(base.c_str(), 0700);
    std::string target = base + "/target";
    mkdir(target.c_str(), 0700);
    struct Case {
        const char* Name;
        void (*Make)(const std::string& path, const std::string& target);
    } cases[] = {
        {"link", [](const std::string& p, const std::string& t) { (void)!symlink(t.c_str(), p.c_str()); }},
        {"file", [](const std::string& p, const std::string&) { WriteFile(p, "x"); }},
        {"mode",
         [](const std::string& p, const std::string&) {
             mkdir(p.c_str(), 0700);
             chmod(p.c_str(), 0755);
         }},
        {"owner",
         [](const std::string& p, const std::string&) {
             mkdir(p.c_str(), 0700);
             (void)!chown(p.c_str(), 65534, 65534);
         }},
    };
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    for (const Case& c : cases) {
        std::string run = base + "/" + c.Name;
        mkdir(run.c_str(), 0700);
        c.Make(run + "/nemu", target);
        setenv("XDG_RUNTIME_DIR", run.c_str(), 1);
        if (std::string(c.Name) == "owner" && geteuid() != 0) continue;
        EXPECT_EQ(RemoteOpen(), 0) << c.Name;
        EXPECT_STREQ(RemoteSocketPath(), "") << c.Name;
    }
    struct stat st;
    EXPECT_NE(lstat((target + "/Nemu.Commands").c_str(), &st), 0); // nothing made through the link
    // Without a runtime folder the door opens in the private cache folder, never /tmp.
    unsetenv("XDG_RUNTIME_DIR");
    ASSERT_EQ(RemoteOpen(), 1);
    EXPECT_EQ(std::string(RemoteSocketPath()),
              std::string(std::getenv("XDG_CACHE_HOME")) + "/nemu/run/Nemu.Commands");
    ASSERT_EQ(lstat((std::string(std::getenv("XDG_CACHE_HOME")) + "/nemu/run").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);
}

TEST(Remote, StaleSocketIsReplacedAndALiveOneIsLeftAlone) {
    std::string why;
    std::string folder = RemoteFolder(true, &why);
    ASSERT_FALSE(folder.empty()) << why;
    std::string first = folder + "/Nemu.Commands";
    // A socket left by an instance that died: bound, never listening, closed.
    int dead = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::strcpy(addr.sun_path, first.c_str());
    ASSERT_EQ(bind(dead, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    close(dead);
    {
        HeadlessHost host(100, 100, 20, 20, 10, 10);
        ASSERT_EQ(RemoteOpen(), 1);
        EXPECT_EQ(std::string(RemoteSocketPath()), first);
    }
    // A live instance keeps its name; this one takes the second.
    int live = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(live, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(listen(live, 4), 0);
    {
        HeadlessHost host(100, 100, 20, 20, 10, 10);
        ASSERT_EQ(RemoteOpen(), 1);
        EXPECT_EQ(std::string(RemoteSocketPath()), folder + "/Nemu.Commands.2");
        RunRemoteCommand = Echo;
        Child c = RunTool({"--instance", "2", "second"});
        EXPECT_EQ(c.Output, "echo:second\n");
    }
    int probe = ConnectTo(first.c_str());
    EXPECT_GE(probe, 0); // still the live one's
    close(probe);
    close(live);
    unlink(first.c_str());
    Child nobody = SpawnTool({"--instance", "3", "nobody"});
    int st = 0;
    waitpid(nobody.Pid, &st, 0);
    close(nobody.Out);
    EXPECT_EQ(WEXITSTATUS(st), 1);
}

TEST(Remote, BadFramesAreRefusedAndOthersStillServed) {
    Door door;
    std::string path = door.Path;
    Child oversized = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, std::string(3000, 'a'));
        if (write(fd, f.data(), 5) != 5) return 5;
        auto reply = ReadFrame(fd);
        if (reply.first != REMOTE_REFUSED || reply.second.find("2047") == std::string::npos) return 1;
        return ReadFrame(fd).first == 0 ? 0 : 2; // then closed
    });
    Child truncated = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, "cut off");
        if (write(fd, f.data(), 7) != 7) return 5;
        close(fd); // vanishes halfway
        return 0;
    });
    Child badKind = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame('Q', "what");
        if (write(fd, f.data(), f.size()) < 0) return 5;
        return ReadFrame(fd).first == REMOTE_REFUSED ? 0 : 1;
    });
    Child trickle = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, "slowly");
        for (char ch : f) {
            if (write(fd, &ch, 1) != 1) return 5;
            usleep(2000);
        }
        auto reply = ReadFrame(fd);
        return reply.first == REMOTE_DATA && reply.second == "echo:slowly" ? 0 : 1;
    });
    ServeUntilDone({&oversized, &truncated, &badKind, &trickle});
    EXPECT_EQ(oversized.Status, 0);
    EXPECT_EQ(truncated.Status, 0);
    EXPECT_EQ(badKind.Status, 0);
    EXPECT_EQ(trickle.Status, 0);
    Child tooLong = RunTool({std::string(2048, 'b')});
    EXPECT_EQ(tooLong.Status, 2);
    EXPECT_EQ(RunTool({std::string(2047, 'b')}).Output, "echo:" + std::string(2047, 'b') + "\n");
    EXPECT_EQ(RemoteClientCount(), 0);
}

TEST(Remote, SilentAndVanishingClientsStallNothing) {
    Door door;
    int silent = ConnectTo(door.Path.c_str()); // connects and never says a word
    ASSERT_GE(silent, 0);
    // Sends a command and goes before the answer: the answer finds nobody.
    std::string path = door.Path;
    Child gone = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, "orphan");
        return write(fd, f.data(), f.size()) == ssize_t(f.size()) ? 0 : 1;
    });
    int st;
    waitpid(gone.Pid, &st, 0);
    QueueButton(WM_LBUTTONDOWN, 20, 20); // hold the orphan in the queue past its client's end
    PumpAndDispatch(1);
    double start = PlatformSeconds();
    while (RemoteQueueLength() == 0 && PlatformSeconds() - start < 5) {
        WaitForInput(1);
        PumpAndDispatch(0);
    }
    EXPECT_EQ(RemoteQueueLength(), 1);
    QueueButton(WM_LBUTTONUP, 20, 20);
    Child c = RunTool({"still", "served"});
    EXPECT_EQ(c.Output, "echo:still served\n");
    EXPECT_EQ(RemoteQueueLength(), 0);
    EXPECT_EQ(RemoteClientCount(), 1); // only the silent one is left
    close(silent);
}

TEST(Remote, QuietOrHalfSentClientsAreClosedButWaitingOnesAreNot) {
    Door door;
    RemoteIdleSeconds = 0.3;
    int silent = ConnectTo(door.Path.c_str());
    int partial = ConnectTo(door.Path.c_str());
    int trickle = ConnectTo(door.Path.c_str());
    ASSERT_GE(silent, 0);
    ASSERT_GE(partial, 0);
    ASSERT_GE(trickle, 0);
    std::string f = Frame(REMOTE_REQUEST, "never finished");
    ASSERT_EQ(write(partial, f.data(), 7), 7);
    // A client whose command waits in the queue owes nothing, however long it waits.
    QueueButton(WM_LBUTTONDOWN, 20, 20);
    PumpAndDispatch(1);
    int waiting = ConnectTo(door.Path.c_str());
    std::string w = Frame(REMOTE_REQUEST, "patient");
    ASSERT_EQ(write(waiting, w.data(), w.size()), ssize_t(w.size()));
    // Bytes that never make a whole message do not keep a client: the clock runs from
    // its last whole message.
    for (size_t i = 0; i < 6; i++) {
        if (write(trickle, f.data() + i, 1) != 1) break; // already closed
        double start = PlatformSeconds();
        while (PlatformSeconds() - start < 0.1) {
            WaitForInput(1);
            PumpAndDispatch(0);
        }
    }
    EXPECT_TRUE(ClosedByServer(silent));
    EXPECT_TRUE(ClosedByServer(partial));
    EXPECT_TRUE(ClosedByServer(trickle));
    EXPECT_FALSE(ClosedByServer(waiting));
    EXPECT_EQ(RemoteClientCount(), 1);
    QueueButton(WM_LBUTTONUP, 20, 20);
    ServeFor(0.1);
    auto reply = ReadFrame(waiting);
    EXPECT_EQ(reply.first, REMOTE_DATA);
    EXPECT_EQ(reply.second, "echo:patient");
    // Answered, it is idle again, and goes in its turn.
    ServeFor(0.5);
    EXPECT_TRUE(ClosedByServer(waiting));
    EXPECT_EQ(RemoteClientCount(), 0);
    for (int fd : {silent, partial, trickle, waiting}) close(fd);
}

TEST(Remote, WhenEverySlotIsTakenTheLongestIdleMakesRoom) {
    Door door;
    std::vector<int> idle;
    for (size_t i = 0; i < RemoteMaxClients; i++) {
        idle.push_back(ConnectTo(door.Path.c_str()));
        ASSERT_GE(idle.back(), 0);
        // Accepted one by one (the listening queue is shorter than the slots); the first
        // two are clearly the oldest.
        if (i < 2)
            ServeFor(0.02);
        else
            PumpAndDispatch(1);
    }
    ServeFor(0.1);
    ASSERT_EQ(size_t(RemoteClientCount()), RemoteMaxClients);
    Child c = RunTool({"one", "more"});
    EXPECT_EQ(c.Output, "echo:one more\n");
    EXPECT_TRUE(ClosedByServer(idle[0]));
    EXPECT_FALSE(ClosedByServer(idle[1]));
    EXPECT_FALSE(ClosedByServer(idle.back()));
    for (int fd : idle) close(fd);
}

TEST(Remote, AClientThatShutsItsSendingSideStillGetsItsReplies) {
    Door door;
    std::string path = door.Path;
    Child halfClosed = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, "first") + Frame(REMOTE_REQUEST, "second");
        if (write(fd, f.data(), f.size()) != ssize_t(f.size())) return 5;
        shutdown(fd, SHUT_WR); // as socat and nc -N do at the end of their input
        auto a = ReadFrame(fd);
        auto b = ReadFrame(fd);
        if (a.first != REMOTE_DATA || a.second != "echo:first") return 1;
        if (b.first != REMOTE_DATA || b.second != "echo:second") return 2;
        return ReadFrame(fd).first == 0 ? 0 : 3; // and then the server closes
    });
    Child cutShort = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, "never whole");
        if (write(fd, f.data(), 8) != 8) return 5;
        shutdown(fd, SHUT_WR); // a message that can never end
        return ReadFrame(fd).first == 0 ? 0 : 1;
    });
    ServeUntilDone({&halfClosed, &cutShort});
    EXPECT_EQ(halfClosed.Status, 0);
    EXPECT_EQ(cutShort.Status, 0);
    EXPECT_EQ(RemoteClientCount(), 0);
}

TEST(Remote, AClientThatNeverReadsIsDropped) {
    Door door;
    RunRemoteCommand = [](RemoteRequest* r) {
        std::memset(r->ResultText, 'r', 4000);
        r->ResultText[4000] = 0;
        r->HasResult = 1;
        ReplyRemote(r);
    };
    std::string path = door.Path;
    Child greedy = Fork([&] {
        int fd = ConnectTo(path.c_str());
        std::string f = Frame(REMOTE_REQUEST, "more");
        // Asks far more than the socket buffers hold, and never reads a reply.
        for (int sent = 0; sent < 1000000; sent++)
            if (send(fd, f.data(), f.size(), MSG_NOSIGNAL) != ssize_t(f.size())) return 0; // hung up on
        return 1;
    });
    ServeUntilDone({&greedy});
    EXPECT_EQ(greedy.Status, 0);
    EXPECT_EQ(RemoteClientCount(), 0);
}

TEST(Remote, FiftyClientsAtOnce) {
    Door door;
    std::vector<Child> clients;
    for (int i = 0; i < 50; i++) clients.push_back(SpawnTool({"client", std::to_string(i)}));
    std::vector<Child*> all;
    for (Child& c : clients) all.push_back(&c);
    ServeUntilDone(all, 120);
    for (int i = 0; i < 50; i++) {
        EXPECT_EQ(clients[size_t(i)].Status, 0) << i;
        EXPECT_EQ(clients[size_t(i)].Output, "echo:client " + std::to_string(i) + "\n") << i;
    }
}
