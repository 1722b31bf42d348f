#include "db/ap.h"

#include "db/registry.h"

int Ap::look_up() {
  sn = get_ap_sn_by_mac(db, mac);
  return sn;
}

int Ap::look_up_reporting(const char* operation) {
  if (look_up() == 0) {
    db.note(Step(operation), "%s has no serial number: nothing is stored under it", mac.c_str());
  }
  return sn;
}

void Ap::give_connection_back() {
  db.close();
  my_mysql_release();
}
