#pragma once

#include <string>

// Services of the controller daemon, which holds the connections to the APs. Failures are not returned:
// the controller may be away. Serial numbers are `SN` of `ap_list`.

/// Comma list of the SSID profile numbers that a new AP starts with, for both radios.
std::string getDefaultProfileSN();

/// Wired setting that a new AP starts with.
std::string getDefaultApWired();

/// Tells the controller of a newly registered AP.
void ap_sync_host(int sn);

/// Tells the controller that an AP's registration is about to change (`flag` 0) or has changed (`flag`
/// 1). The second and fourth number are 0.
void setRemote(int flag, int reserved, int sn, int reserved2);

/// Tells the controller that an AP has left. The other two numbers are 0.
void setRemoteDown(int reserved, int sn, int reserved2);

/// Has the controller clean up after an AP whose reboot or update has been started.
void AH_deleteRelative(const std::string& mac);
