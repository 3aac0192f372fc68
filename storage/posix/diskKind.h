#pragma once

namespace platform {

// Whether a file or folder lies on a disk of this machine itself, so that the kernel moves its
// bytes page by page.
bool isOwnDevice(int descriptor);

// Whether the name of an open file can be given to another one where this file or folder lies, the
// open file going on without a name, as POSIX says. Known of the system's own file systems only: a
// file server may refuse, and one that the kernel's SMB client talks to has by then been asked to
// delete the open file, which it does once that is closed.
bool replacesOpenFiles(int descriptor);

} // namespace platform
