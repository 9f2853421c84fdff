#include "errors.h"

#include <cerrno>
#include <system_error>

namespace zucli {

namespace {

std::string_view remedyFor(int errorNumber) {
    switch (errorNumber) {
        case ENOENT:
        case ENOTDIR:
            return "check the name";
        case EACCES:
        case EPERM:
            return "check the permissions of the file and its folder";
        case ENOSPC:
        case EDQUOT:
            return "free some space or write to another place";
        case EROFS:
            return "write to another place, for example with --out-dir";
        case EPIPE:
            return "the program reading the output has ended";
        case EISDIR:
            return "name a file, not a folder";
        case EIO:
            return "the device may be failing; copy the file elsewhere and try again";
        default:
            return {};
    }
}

} // namespace

std::string systemMessage(std::string_view action, int errorNumber) {
    std::string message(action);
    message += ": " + std::generic_category().message(errorNumber);
    if (const std::string_view remedy = remedyFor(errorNumber); !remedy.empty()) {
        message += "; ";
        message += remedy;
    }
    return message;
}

} // namespace zucli
