// The libgd image that a console picture's description carries, as far as it can be trusted.
#pragma once

#include "hostapi/host_records.h"

namespace zvk {

// The described image if its row table can be used: it holds every row of the described size, and
// that size lies within the image's own. Null for any other description.
const REALconsoleImage* DescribedConsoleImage(const REALpictureDescription& description);

}  // namespace zvk
