#include "tests/support/PrivateMounts.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace android::test {

namespace {

void check(bool isFine, const char* what) {
    if (!isFine) {
        fprintf(stderr, "%s: %s. These tests need root or user namespaces.\n", what,
                strerror(errno));
        exit(2);
    }
}

void writeFile(const char* path, const std::string& text) {
    int fd = open(path, O_WRONLY | O_CLOEXEC);
    check(fd >= 0 && write(fd, text.data(), text.size()) > 0, path);
    close(fd);
}

// An ordinary user may mount only inside a user namespace, where it appears as root.
void unshareMounts() {
    if (geteuid() == 0) {
        check(unshare(CLONE_NEWNS) == 0, "unshare");
        return;
    }
    std::string uid = std::to_string(geteuid());
    std::string gid = std::to_string(getegid());
    check(unshare(CLONE_NEWNS | CLONE_NEWUSER) == 0, "unshare");
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + uid + " 1");
    writeFile("/proc/self/gid_map", "0 " + gid + " 1");
}

// A tmpfs can't be mounted over /dev without losing the devices; keep the few that tests use.
void replaceDev() {
    char keep[] = "/tmp/stallscope-dev-XXXXXX";
    check(mkdtemp(keep) != nullptr, "mkdtemp");
    check(mount("/dev", keep, nullptr, MS_BIND | MS_REC, nullptr) == 0, "mount --rbind /dev");
    check(mount("tmpfs", "/dev", "tmpfs", 0, nullptr) == 0, "mount /dev");
    for (const char* name : {"/null", "/full", "/urandom"}) {
        std::string target = std::string("/dev") + name;
        close(open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
        check(mount((keep + std::string(name)).c_str(), target.c_str(), nullptr, MS_BIND,
                    nullptr) == 0,
              target.c_str());
    }
    umount2(keep, MNT_DETACH);
    rmdir(keep);
    mkdir("/dev/binderfs", 0755);
    mkdir("/dev/binderfs/binder_logs", 0755);
}

}  // namespace

void enterPrivateMounts() {
    unshareMounts();
    check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "mount --make-rprivate");
    replaceDev();
    check(mount("tmpfs", "/proc", "tmpfs", 0, nullptr) == 0, "mount /proc");
}

void leavePrivateMounts() {
    umount2("/proc", MNT_DETACH);
}

}  // namespace android::test
