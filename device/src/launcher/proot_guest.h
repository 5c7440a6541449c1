#ifndef DEVICE_LAUNCHER_PROOT_GUEST_H_
#define DEVICE_LAUNCHER_PROOT_GUEST_H_

namespace launcher {

/// Makes this process, and what it starts, one that proot can serve: it ends with proot, adopts
/// what its descendants leave running, and gets ENOSYS from the system calls that proot does not
/// translate. \return false where proot is gone, so that nothing must run.
bool BecomeProotGuest();

}  // namespace launcher

#endif  // DEVICE_LAUNCHER_PROOT_GUEST_H_
