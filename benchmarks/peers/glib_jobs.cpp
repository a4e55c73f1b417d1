// GLib as a peer: its registry of types.
#include <glib-object.h>

#include "measure.h"

static void registerTypes(int from, int to) {
  for (int i = from; i < to; ++i) {
    const std::string name = "PeersType" + std::to_string(i);
    g_type_register_static_simple(G_TYPE_OBJECT, name.c_str(), sizeof(GObjectClass), nullptr, sizeof(GObject), nullptr,
                                  static_cast<GTypeFlags>(0));
  }
}

static void lookUp(const char* name, bool isKnown) {
  peers::require((g_type_from_name(name) != 0) == isKnown, "a lookup returned a wrong result");
}

static void findTypes() {
  const peers::Report report("GLib", std::to_string(glib_major_version) + "." + std::to_string(glib_minor_version) +
                                         "." + std::to_string(glib_micro_version));
  int registered = 0;
  for (const int types : peers::typeCounts) {
    registerTypes(registered, types);
    registered = types;
    peers::Names known("PeersType", types);
    report.add("find_loaded", "g_type_from_name", peers::timeCalls([&] { lookUp(known.next(), true); }), types);
    peers::Names unknown("PeersOther", types);
    report.add("find_missing", "g_type_from_name", peers::timeCalls([&] { lookUp(unknown.next(), false); }), types);
  }
}

int main() { return peers::runJobs(findTypes); }
