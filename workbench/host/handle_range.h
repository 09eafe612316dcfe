// Addresses that stand for host objects outside the host.
// Used by the ledger and by bitmap contexts; nothing may read or write through them.
#pragma once

namespace workbench {

/// A new address, never null. No memory is behind it, so using it as more than a name is a crash
/// at once, and it is not given out a second time before some sixty million others, so a handle
/// that was kept too long is recognised instead of meaning another object.
const void* NewHandleAddress();

}  // namespace workbench
