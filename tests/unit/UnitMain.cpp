// As the ordinary main of GoogleTest, in a mount namespace with an empty /proc and a /dev that
// holds little but the binder log's folder, so that tests declare every process there is. An
// ordinary user needs user namespaces for that.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/PlatformFakes.h"

namespace android::test {
int printStart();
}

namespace {

void check(bool isFine, const std::string& what) {
    if (!isFine) {
        fprintf(stderr, "%s: %s. These tests need root or user namespaces.\n", what.c_str(),
                strerror(errno));
        exit(2);
    }
}

void mountAt(const std::string& target, const std::string& source, unsigned long flags) {
    check(mount(source.c_str(), target.c_str(), "tmpfs", flags, nullptr) == 0, "mount " + target);
}

// An ordinary user may mount only inside a user namespace, where it appears as root.
void unshareMounts() {
    std::string uidMap = "0 " + std::to_string(geteuid()) + " 1";
    std::string gidMap = "0 " + std::to_string(getegid()) + " 1";
    bool isRoot = geteuid() == 0;
    check(unshare(isRoot ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) == 0, "unshare");
    if (!isRoot) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << uidMap;
        std::ofstream("/proc/self/gid_map") << gidMap;
    }
    // What is mounted on these must not show outside. The root itself can't be asked: in a chroot
    // it is no mount point.
    mountAt("/dev", "", MS_REC | MS_PRIVATE);
    mountAt("/proc", "", MS_REC | MS_PRIVATE);
}

// Keeps the one device that tests use, and puts the real /proc beside the tests' own.
void replaceDevAndProc() {
    const std::string null = "/proc/self/fd/" + std::to_string(open("/dev/null", O_PATH));
    mountAt("/dev", "tmpfs", 0);
    std::ofstream("/dev/null").flush();
    mountAt("/dev/null", null, MS_BIND);
    std::filesystem::create_directories("/dev/binderfs/binder_logs");
    std::filesystem::create_directory(android::test::kRealProc);
    mountAt(android::test::kRealProc, "/proc", MS_BIND | MS_REC);
    mountAt("/proc", "tmpfs", 0);
}

}  // namespace

// What the standard conversions throw is caught by tests alone, behind code that is built without
// exceptions and so frees nothing on the way; the daemon would have ended.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:filedByDaemon\n";
}

// The mounts are made before any thread exists.
int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "start") {
        const int status = android::test::printStart();
        fflush(stdout);
        _exit(status);  // the address sanitizer's search for leaks wants the real /proc
    }
    testing::InitGoogleTest(&argc, argv);
    unshareMounts();
    replaceDevAndProc();
    // With the first, the thread sanitizer starts one of its own, whose end tests would wait for.
    std::thread([] {}).join();
    int result = RUN_ALL_TESTS();
    // The sanitizers want the real one at exit.
    umount2("/proc", MNT_DETACH);
    return result;
}
