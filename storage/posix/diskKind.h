#pragma once

namespace platform {

// Whether a file or folder is on a local device, where the kernel copies page by page.
bool isOwnDevice(int descriptor);

// Whether a rename may replace an open file on the disk of this file or folder, as POSIX specifies.
// True for known local file systems only: a file server may refuse, and the kernel's SMB client has
// then already requested the deletion of the open file, which the server executes when it is
// closed.
bool replacesOpenFiles(int descriptor);

} // namespace platform
