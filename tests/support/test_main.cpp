// Test entry: every test process gets its own settings, cache and runtime folders, so
// no test reads or writes the user's own, and tests never see each other's files.
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

int main(int argc, char** argv) {
    char tmpl[] = "/tmp/nemu-test-XXXXXX";
    const char* root = mkdtemp(tmpl);
    std::string base = root ? root : "/tmp";
    for (const char* var : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"}) {
        std::string dir = base + "/" + var;
        mkdir(dir.c_str(), 0700);
        setenv(var, dir.c_str(), 1);
    }
    setenv("NEMU_TEST_ROOT", base.c_str(), 1);
    testing::InitGoogleTest(&argc, argv);
    int rc = RUN_ALL_TESTS();
    if (root) {
        std::string cmd = "rm -rf '" + base + "'";
        int r = std::system(cmd.c_str());
        (void)r;
    }
    return rc;
}
