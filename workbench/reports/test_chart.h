// Pictures drawn to show what a scaling method does: frequencies, edges, ramps, fine text and
// transparency. Used by the demonstration, one by one and together as one chart.
#pragma once

#include "workbench/files/decoding.h"

namespace workbench {

/// Rings that grow finer from the middle to the finest a picture can hold at the edge.
GdImage DrawZonePlate(int size);

/// Spokes, a slanted edge, a disc and thin lines, smooth at their edges, in a few strong colours.
GdImage DrawEdges(int size);

/// Lines of small text, dark on light.
GdImage DrawFineText(int width, int height);

/// Steps and smooth ramps of grey and of the three colours.
GdImage DrawRamps(int width, int height);

/// Coloured discs that fade to full transparency, with an alpha channel.
GdImage DrawTransparency(int size);

/// All of them on one picture of 768 x 576 pixels with an alpha channel.
GdImage DrawTestChart();

}  // namespace workbench
