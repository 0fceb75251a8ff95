// MLT XML of a running service network, exactly as MLT's own "xml" consumer
// writes it into a property (the "buffer" target): the same document, built
// with the same libxml2 calls in the same order, and the same marks left on
// the services. MLT's consumer keeps its identifier map in a property list
// whose look-ups scan the whole list, which makes a dump grow with the square
// of the timeline; this writer keeps the map in hash tables, so it grows
// linearly and the graph can be dumped after edits on long timelines.
#pragma once

#include <framework/mlt_types.h>

#include <functional>
#include <optional>
#include <string>

namespace graphxml {

// Asked now and then while a long network is written; false abandons the text.
using KeepGoing = std::function<bool()>;

// The text for the network whose output is service, as MLT's "xml" consumer
// made without a profile and connected to service would write it; nothing
// when keepGoing said to stop.
std::optional<std::string> serialise(mlt_service service, const KeepGoing& keepGoing = {});

}  // namespace graphxml
