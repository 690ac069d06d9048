// Who this device is to other devices sharing a vault: a stable identifier that does not reveal
// the machine id it is derived from, and the host name to show people.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace trivo {

struct DeviceIdentity {
  std::string id;    // 32 lower-case hex digits
  std::string name;  // the host name, or "this device" when it has none

  // The identity of the machine running us: derived from /etc/machine-id (or, failing that,
  // /var/lib/dbus/machine-id, then the host name) and the host name.
  static DeviceIdentity current();
  // The identity for a given machine id and host name. The id is a keyed SHA-256 digest of the
  // machine id, so the machine id itself (which other programs may use as a secret) never
  // appears in the vault.
  static DeviceIdentity derive(std::string_view machineId, std::string_view hostName);

  bool operator==(const DeviceIdentity&) const = default;
};

// SHA-256 of the bytes.
std::array<std::uint8_t, 32> sha256(std::string_view bytes);

}  // namespace trivo
