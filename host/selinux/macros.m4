dnl The macros of a platform tree that device/sepolicy uses, as far as they matter to it.
define(`r_dir_perms', `{ getattr ioctl lock open read search watch watch_reads }')dnl
define(`rw_dir_perms', `{ add_name getattr ioctl lock open read remove_name search watch watch_reads write }')dnl
define(`r_file_perms', `{ getattr ioctl lock map open read watch watch_reads }')dnl
define(`rx_file_perms', `{ execute execute_no_trans getattr ioctl lock map open read watch watch_reads }')dnl
define(`global_capability_class_set', `{ capability cap_userns }')dnl
define(`r_dir_file', `
allow $1 $2:dir r_dir_perms;
allow $1 $2:{ file lnk_file } r_file_perms;
')dnl
define(`domain_auto_trans', `
allow $1 $2:file { execute getattr map open read };
allow $3 $2:file { entrypoint execute getattr map open read };
allow $1 $3:process { rlimitinh siginh transition };
dontaudit $1 $3:process noatsecure;
allow $3 $1:process sigchld;
type_transition $1 $2:process $3;
')dnl
define(`init_daemon_domain', `domain_auto_trans(init, $1_exec, $1)')dnl
define(`binder_call', `
allow $1 $2:binder { call transfer };
allow $2 $1:binder transfer;
allow $1 $2:fd use;
')dnl
define(`binder_use', `
allow $1 servicemanager:binder { call transfer };
allow servicemanager $1:binder { call transfer };
allow servicemanager $1:dir search;
allow servicemanager $1:file { open read };
allow servicemanager $1:process getattr;
')dnl
define(`add_service', `
allow $1 $2:service_manager { add find };
neverallow { domain -$1 } $2:service_manager add;
')dnl
define(`unix_socket_connect', `
allow $1 $2_socket:sock_file write;
allow $1 $3:unix_stream_socket connectto;
')dnl
define(`system_internal_prop', `type $1, property_type;')dnl
define(`get_prop', `allow $1 $2:file { getattr map open read };')dnl
