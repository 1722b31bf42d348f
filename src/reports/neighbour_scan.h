#pragma once

#include "db/ap.h"
#include "reports/numbered_sections.h"
#include "values/cell_record.h"

/// Reads the sections "Cell 01" and "Cell 5G 01" (band, number).
Listing<cell_record> read_cells(const Report& report);

/// Replaces what the AP has heard by the cells of the report. A radio that a managed AP has reported as
/// its own becomes a sighting in `legal`, under its owner's SSID when it hides it. Any other is foreign
/// (foreign_radios.h). Of a radio listed twice, the later values stay. Does nothing for an AP that is
/// not registered. The sightings change together: no other process sees only some of them.
void update_ap_legal_table_for_refer(Ap& ap, const Report& report);

/// Deletes the sightings of AP `sn`.
void delete_ap_legal_table_for_refer(Connection& db, int sn);
