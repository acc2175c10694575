// Owning handles for XPC objects.
#pragma once

#include <xpc/xpc.h>

#include <memory>
#include <type_traits>

namespace tagwriter::xpc {

/// Releases one reference.
struct ObjectRelease {
  void operator()(xpc_object_t object) const { xpc_release(object); }
};

/// A reference to an object.
using ObjectHandle = std::unique_ptr<std::remove_pointer_t<xpc_object_t>, ObjectRelease>;
/// A reference to a connection. Releasing it does not cancel the connection.
using ConnectionHandle = std::unique_ptr<std::remove_pointer_t<xpc_connection_t>, ObjectRelease>;

}  // namespace tagwriter::xpc
