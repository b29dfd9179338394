#include "platform/SystemErrors.h"

#include <algorithm>
#include <cerrno>

#include "platform/Texts.h"

namespace jumplark {
namespace {

struct Wording {
  int code;
  const char* text;
};

// The C library has such texts as well, but in the language of its own catalogues, which need not be that of the
// sentence around them, and in words for programmers.
constexpr Wording kWordings[] = {
    {EPERM, textForLater("this is not permitted")},
    {EACCES, textForLater("permission denied")},
    {ENOENT, textForLater("there is no such file or folder")},
    {ENOTDIR, textForLater("a part of the path is no folder")},
    {EISDIR, textForLater("it is a folder")},
    {EEXIST, textForLater("it is there already")},
    {EROFS, textForLater("the disk is write-protected")},
    {ENOSPC, textForLater("the disk is full")},
    {EDQUOT, textForLater("no more of the disk may be used")},
    {EFBIG, textForLater("it would become too large")},
    {EIO, textForLater("the disk cannot be read or written there")},
    {ENAMETOOLONG, textForLater("the name is too long")},
    {ELOOP, textForLater("a link stands where none may, or links lead in a circle")},
    {EBUSY, textForLater("it is in use")},
    {ETXTBSY, textForLater("it is in use")},
    {EAGAIN, textForLater("another program keeps it locked")},
    {EMFILE, textForLater("too many files are open")},
    {ENFILE, textForLater("too many files are open")},
    {ENOMEM, textForLater("there is not enough memory")},
    {EINVAL, textForLater("this is not possible there")},
    {ENOTSUP, textForLater("this is not possible there")},
    {ENXIO, textForLater("nothing answers there")},
    {ECONNREFUSED, textForLater("nothing answers there")},
    {EHOSTUNREACH, textForLater("nothing answers there")},
    {ETIMEDOUT, textForLater("it does not answer in time")},
    {ECONNRESET, textForLater("the connection broke off")},
    {EPIPE, textForLater("the connection broke off")},
};

}  // namespace

std::string textOfSystemError(int code) {
  const auto* const known = std::ranges::find(kWordings, code, &Wording::code);
  return known != std::end(kWordings) ? localized(known->text) : localizedFormat("the system reports error {}", code);
}

}  // namespace jumplark
