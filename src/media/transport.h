// Consumers and the producers they serve are tied together through two MLT
// data properties, so that transport operations find whichever consumer is
// showing a producer: "transport_producer" on the consumer and
// "transport_consumer" on the producer.
#pragma once

#include <framework/mlt_types.h>

#include <string>

extern const char kTransportProducer[];  // "transport_producer"
extern const char kTransportConsumer[];  // "transport_consumer"

// The window an "sdl2" consumer is handed.
struct WindowSettings {
    int windowId = 0;
    int displayAspectNum = 16;
    int displayAspectDen = 9;
    int windowWidth = 1280;
    int windowHeight = 720;
};

// Links consumer and producer both ways (no destructor, no length).
void linkTransport(mlt_consumer consumer, mlt_producer producer);

// The consumer linked to a producer, or null.
mlt_consumer transportConsumer(mlt_producer producer);

// Makes a consumer from an id "service" or "service:target", links it with
// producer when both exist, and, for exactly "sdl2", hands it the window.
mlt_consumer createTransportConsumer(mlt_profile profile, const std::string& id,
                                     mlt_producer producer, const WindowSettings& window);
