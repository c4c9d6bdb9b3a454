// The host's own functions behind those that the linker redirects to the simulator (file_calls.cpp,
// dynamic_library.cpp). The simulator calls these where it means the host itself, so that no fault
// ever meets its own work.
#pragma once

#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

namespace simulator {

using SignalHandler = void (*)(int number);

}  // namespace simulator

extern "C" {

int __real_access(const char* path, int mode);
int __real_chmod(const char* path, mode_t mode);
int __real_close(int descriptor);
int __real_closedir(DIR* directory);
int __real_dlclose(void* handle);
void* __real_dlopen(const char* path, int mode);
void* __real_dlsym(void* handle, const char* name);
int __real_fchmod(int descriptor, mode_t mode);
int __real_fcntl(int descriptor, int command, ...);
int __real_fstat(int descriptor, struct stat* result);
int __real_fsync(int descriptor);
int __real_ftruncate(int descriptor, off_t length);
pid_t __real_getpid(void);
passwd* __real_getpwuid(uid_t user);
int __real_kill(pid_t pid, int signal);
int __real_link(const char* from, const char* to);
tm* __real_localtime_r(const time_t* time, tm* result);
off_t __real_lseek(int descriptor, off_t offset, int whence);
int __real_lstat(const char* path, struct stat* result);
int __real_mkdir(const char* path, mode_t mode);
int __real_mkostemp(char* path, int flags);
int __real_nanosleep(const timespec* duration, timespec* remaining);
int __real_open(const char* path, int flags, ...);
DIR* __real_opendir(const char* path);
ssize_t __real_read(int descriptor, void* buffer, size_t size);
dirent* __real_readdir(DIR* directory);
int __real_rename(const char* from, const char* to);
int __real_rmdir(const char* path);
simulator::SignalHandler __real_signal(int number, simulator::SignalHandler handler);
int __real_stat(const char* path, struct stat* result);
int __real_unlink(const char* path);
ssize_t __real_write(int descriptor, const void* buffer, size_t size);

}  // extern "C"
