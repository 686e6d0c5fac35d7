dnl The kernel's object classes and their permissions, as far as the policy names them. What is left
dnl out stays unchecked: the policy is compiled with -U allow.
define(`CLASSES', `security process capability capability2 cap_userns filesystem file dir fd lnk_file
chr_file blk_file sock_file fifo_file unix_stream_socket unix_dgram_socket tcp_socket udp_socket
rawip_socket packet_socket netlink_route_socket binder service_manager property_service')dnl
dnl The kernel counts on this order.
define(`SIDS', `kernel security unlabeled fs file file_labels init any_socket port netif netmsg node
igmp_packet icmp_socket tcp_socket sysctl_modprobe sysctl sysctl_fs sysctl_kernel sysctl_net
sysctl_net_unix sysctl_vm sysctl_dev kmod policy scmp_packet devnull')dnl
define(`each', `patsubst(`$1', `\w+', `$2')')dnl
define(`capabilities', `chown dac_override dac_read_search fowner fsetid kill setgid setuid setpcap
    linux_immutable net_bind_service net_broadcast net_admin net_raw ipc_lock ipc_owner sys_module
    sys_rawio sys_chroot sys_ptrace sys_pacct sys_admin sys_boot sys_nice sys_resource sys_time
    sys_tty_config mknod lease audit_write audit_control setfcap')dnl
each(CLASSES, `class \&
')
each(SIDS, `sid \&
')
common file { ioctl read write create getattr setattr lock relabelfrom relabelto append map unlink
    link rename execute quotaon mounton audit_access open execmod watch watch_mount watch_sb
    watch_with_perm watch_reads }
common socket { ioctl read write create getattr setattr lock relabelfrom relabelto append map bind
    connect listen accept getopt setopt shutdown recvfrom sendto name_bind }
class security { compute_av compute_create compute_member check_context load_policy compute_relabel
    compute_user setenforce setbool setsecparam setcheckreqprot read_policy validate_trans }
class process { fork transition sigchld sigkill sigstop signull signal ptrace getsched setsched
    getsession getpgid setpgid getcap setcap share getattr setexec setfscreate noatsecure siginh
    setrlimit rlimitinh dyntransition setcurrent execmem execstack execheap setkeycreate
    setsockcreate getrlimit }
class capability { capabilities }
class cap_userns { capabilities }
class capability2 { mac_override mac_admin syslog wake_alarm block_suspend audit_read perfmon bpf
    checkpoint_restore }
class filesystem { mount remount unmount getattr relabelfrom relabelto associate quotamod quotaget
    watch }
class dir inherits file { add_name remove_name reparent search rmdir }
each(`lnk_file blk_file sock_file fifo_file', `class \& inherits file
')
class file inherits file { execute_no_trans entrypoint }
class chr_file inherits file { execute_no_trans entrypoint }
class unix_stream_socket inherits socket { connectto }
each(`unix_dgram_socket udp_socket rawip_socket packet_socket', `class \& inherits socket
')
class tcp_socket inherits socket { node_bind name_connect }
class netlink_route_socket inherits socket { nlmsg_read nlmsg_write }
class fd { use }
class binder { impersonate call set_context_mgr transfer }
class service_manager { add find list }
class property_service { set }
