#include "media/transport.h"

#include <framework/mlt.h>

const char kTransportProducer[] = "transport_producer";
const char kTransportConsumer[] = "transport_consumer";

void linkTransport(mlt_consumer consumer, mlt_producer producer) {
    if (consumer == nullptr || producer == nullptr) {
        return;
    }
    mlt_properties_set_data(MLT_CONSUMER_PROPERTIES(consumer), kTransportProducer, producer, 0,
                            nullptr, nullptr);
    mlt_properties_set_data(MLT_PRODUCER_PROPERTIES(producer), kTransportConsumer, consumer, 0,
                            nullptr, nullptr);
}

mlt_consumer transportConsumer(mlt_producer producer) {
    if (producer == nullptr) {
        return nullptr;
    }
    return static_cast<mlt_consumer>(
        mlt_properties_get_data(MLT_PRODUCER_PROPERTIES(producer), kTransportConsumer, nullptr));
}

mlt_consumer createTransportConsumer(mlt_profile profile, const std::string& id,
                                     mlt_producer producer, const WindowSettings& window) {
    std::string service = id;
    std::string target;
    size_t colon = id.find(':');
    if (colon != std::string::npos) {
        service = id.substr(0, colon);
        target = id.substr(colon + 1);
    }
    mlt_consumer consumer =
        mlt_factory_consumer(profile, service.c_str(), target.empty() ? nullptr : target.c_str());
    if (consumer == nullptr) {
        return nullptr;
    }
    linkTransport(consumer, producer);
    if (id == "sdl2") {
        mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
        mlt_properties_set_int(properties, "window_id", window.windowId);
        mlt_properties_set_int(properties, "display_aspect_num", window.displayAspectNum);
        mlt_properties_set_int(properties, "display_aspect_den", window.displayAspectDen);
        mlt_properties_set_int(properties, "window_width", window.windowWidth);
        mlt_properties_set_int(properties, "window_height", window.windowHeight);
    }
    return consumer;
}
