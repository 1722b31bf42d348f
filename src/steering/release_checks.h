#pragma once

#include "db/ap.h"
#include "steering/findings.h"

// When an AP has to give up all its blocks, because the stations that it refuses may find nobody
// else: one of its own SSIDs has lost its neighbours while the AP holds blocks for that SSID.
// A rule that says so tells `found` which SSID that is.

/// Whether no other AP hears this AP on such an SSID.
bool ap_release_ssid_rule(Ap& ap, Findings& found);

/// Whether the AP itself hears no radio of such an SSID above -75 dBm.
bool ap_release_signal_rule(Ap& ap, Findings& found);
