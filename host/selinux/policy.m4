dnl A whole policy around device/sepolicy, as checkpolicy -M takes it: m4 -I of this folder and of the
dnl folders with the device's part, -D DEVICE=its files as include statements.
include(`classes.m4')dnl
include(`macros.m4')dnl
sensitivity s0;
dominance { s0 }
category c0;
level s0:c0;
# As a platform tree has them, where they concern the daemon.
mlsconstrain process { dyntransition transition } ((h1 eq h2 and l1 eq l2) or t1 == mlstrustedsubject);
mlsconstrain process { sigkill signal sigstop } (l1 eq l2 or t1 == mlstrustedsubject);
mlsconstrain process { getattr getcap getpgid getsched ptrace } (l1 dom l2 or t1 == mlstrustedsubject);
mlsconstrain unix_stream_socket connectto (l1 eq l2 or t1 == mlstrustedsubject or t2 == mlstrustedsubject);
policycap open_perms;
policycap extended_socket_class;
policycap nnp_nosuid_transition;
include(`platform.te')
include(`guest.te')
DEVICE
role r;
role r types domain;
user u roles { r } level s0 range s0 - s0:c0;
define(`context', `ifelse(`$1', kernel, r:init, `$1', init, r:init, `$1', file, object_r:system_file,
    `$1', devnull, object_r:device, object_r:unlabeled)')dnl
each(SIDS, `sid \& u:context(\&):s0
')
fs_use_xattr overlay u:object_r:labeledfs:s0;
fs_use_trans tmpfs u:object_r:tmpfs:s0;
fs_use_trans devtmpfs u:object_r:device:s0;
fs_use_trans devpts u:object_r:device:s0;
fs_use_task pipefs u:object_r:tmpfs:s0;
fs_use_task sockfs u:object_r:tmpfs:s0;
genfscon rootfs / u:object_r:system_file:s0
genfscon 9p / u:object_r:system_file:s0
genfscon proc / u:object_r:proc:s0
genfscon proc /version u:object_r:proc_version:s0
genfscon proc /sys/fs/pipe-max-size u:object_r:proc_pipe_conf:s0
genfscon sysfs / u:object_r:sysfs:s0
genfscon selinuxfs / u:object_r:selinuxfs:s0
genfscon debugfs / u:object_r:debugfs:s0
# What is bound over /dev/binderfs/binder_logs/transactions.
genfscon debugfs /binder/proc u:object_r:binderfs_logs_proc:s0
genfscon debugfs /binder/transactions u:object_r:binderfs_logs:s0
