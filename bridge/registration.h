// Registration of the plugin's methods with the host, as a class extension or as a module.
// Called once by the entry point; the records must stay alive for the life of the process, since
// the host keeps pointers into them.
#pragma once

#include "hostapi/host_records.h"

namespace zvk {

// The plugin part's name and the plugin's, set by the entry point.
extern const char* gpartname;
extern const char* gpluginname;

// The class record: an extension of the host's "Picture" with the plugin's methods.
extern REALclassDefinition pictureClass;

// Moves the attribute bits of every flags word of `definition` to where a host of the given
// version expects them.
void AdjustFlags(REALclassDefinition& definition, double hostVersion);

// Whether a host of the given version takes class extensions; the others take a module.
bool TakesClassExtension(double hostVersion);

// Registers `definition` as an extension of the class it names; nothing if the host has no such
// service.
void RegisterClassExtension(REALclassDefinition& definition);

// Registers the methods of `definition` as global methods of a module, each with the extended
// object as first parameter. Nothing is registered if there are no methods, memory is short or
// the host has no such service.
void RegisterModule(const REALclassDefinition& definition);

}  // namespace zvk
