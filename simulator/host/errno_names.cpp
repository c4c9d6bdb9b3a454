#include "simulator/host/errno_names.hpp"

#include <cerrno>
#include <map>

namespace simulator {

std::optional<int> errorCode(std::string_view name) {
    static const std::map<std::string_view, int> codes{
        {"E2BIG", E2BIG},
        {"EACCES", EACCES},
        {"EAGAIN", EAGAIN},
        {"EBADF", EBADF},
        {"EBUSY", EBUSY},
        {"EDQUOT", EDQUOT},
        {"EEXIST", EEXIST},
        {"EFBIG", EFBIG},
        {"EINTR", EINTR},
        {"EINVAL", EINVAL},
        {"EIO", EIO},
        {"EISDIR", EISDIR},
        {"ELOOP", ELOOP},
        {"EMFILE", EMFILE},
        {"EMLINK", EMLINK},
        {"ENAMETOOLONG", ENAMETOOLONG},
        {"ENFILE", ENFILE},
        {"ENODEV", ENODEV},
        {"ENOENT", ENOENT},
        {"ENOLCK", ENOLCK},
        {"ENOMEM", ENOMEM},
        {"ENOSPC", ENOSPC},
        {"ENOSYS", ENOSYS},
        {"ENOTDIR", ENOTDIR},
        {"ENOTEMPTY", ENOTEMPTY},
        {"ENOTSUP", ENOTSUP},
        {"ENXIO", ENXIO},
        {"EOVERFLOW", EOVERFLOW},
        {"EPERM", EPERM},
        {"EPIPE", EPIPE},
        {"EROFS", EROFS},
        {"ESPIPE", ESPIPE},
        {"ESRCH", ESRCH},
        {"ESTALE", ESTALE},
        {"ETIMEDOUT", ETIMEDOUT},
        {"ETXTBSY", ETXTBSY},
        {"EWOULDBLOCK", EWOULDBLOCK},
        {"EXDEV", EXDEV},
    };
    const auto found = codes.find(name);
    return found == codes.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace simulator
