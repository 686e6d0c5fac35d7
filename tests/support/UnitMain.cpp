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
    mountAt("/", "", MS_REC | MS_PRIVATE);
}

// A tmpfs can't be mounted over /dev without losing the devices; keep the few that tests use.
void replaceDev() {
    char keep[] = "/tmp/stallscope-dev-XXXXXX";
    check(mkdtemp(keep) != nullptr, "mkdtemp");
    mountAt(keep, "/dev", MS_BIND | MS_REC);
    mountAt("/dev", "tmpfs", 0);
    for (const char* device : {"/null", "/full", "/urandom"}) {
        std::string target = std::string("/dev") + device;
        std::ofstream(target).flush();
        mountAt(target, keep + std::string(device), MS_BIND);
    }
    umount2(keep, MNT_DETACH);
    rmdir(keep);
    std::filesystem::create_directories("/dev/binderfs/binder_logs");
}

}  // namespace

// The mounts are made before any thread exists.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    unshareMounts();
    replaceDev();
    mountAt("/proc", "tmpfs", 0);
    int result = RUN_ALL_TESTS();
    // The sanitizers want the real one at exit.
    umount2("/proc", MNT_DETACH);
    return result;
}
