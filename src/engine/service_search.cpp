// findService: a depth-first walk of the running graph in the order MLT's XML
// consumer serialises it, so the first match is the service a saved graph
// would list first under that identifier.
#include "engine/engine_names.h"
#include "engine/graph.h"
#include "engine/mlt_helper.h"

namespace {

bool idMatches(mlt_service service, const ServiceQuery& query) {
    return mltgraph::equals(mltgraph::text(service, mltnames::kPropId), query.id.c_str());
}

bool matches(mlt_service service, ServiceKind kind, const ServiceQuery& query) {
    return query.kind == kind && idMatches(service, query);
}

bool setFound(ServiceQuery& query, mlt_service found, mlt_service parent) {
    query.found = found;
    query.parent = parent;
    return true;
}

// An engine plug-in that wraps another graph (a "consumer" producer) keeps the
// wrapped service in the second word of its "context" object.
mlt_service wrappedService(mlt_properties properties) {
    auto context =
        static_cast<void**>(mlt_properties_get_data(properties, mltnames::kPropContext, nullptr));
    return context ? static_cast<mlt_service>(context[1]) : nullptr;
}

}  // namespace

bool MltHelper::findService(ServiceQuery& query) {
    query.found = nullptr;
    query.parent = nullptr;
    if (producer_ == nullptr) {
        return false;
    }
    mlt_service root = MLT_PRODUCER_SERVICE(producer_);
    return walk(root, root, query);
}

mlt_tractor MltHelper::findTractor(const std::string& id) {
    ServiceQuery query{ServiceKind::Tractor, id};
    return findService(query) ? mltgraph::asTractor(query.found) : nullptr;
}

mlt_playlist MltHelper::findPlaylist(const std::string& id) {
    ServiceQuery query{ServiceKind::Playlist, id};
    return findService(query) ? mltgraph::asPlaylist(query.found) : nullptr;
}

bool MltHelper::walk(mlt_service service, mlt_service parent, ServiceQuery& query) {
    using namespace mltnames;
    for (; service != nullptr; service = mlt_service_producer(service)) {
        mlt_properties properties = MLT_SERVICE_PROPERTIES(service);
        const char* type = mltgraph::text(properties, kPropMltType);
        if (mltgraph::equals(type, kTypeProducer)) {
            // The xml producer's root keeps the loaded tractor's identity but
            // its own service name, and is walked as a plain producer.
            bool isTractor =
                mltgraph::text(properties, kPropXml) == nullptr &&
                mltgraph::equals(mltgraph::text(properties, kPropMltService), kServiceTractor);
            if (isTractor ? visitTractor(service, parent, query)
                          : visitProducer(service, parent, query)) {
                return true;
            }
        } else if (mltgraph::equals(type, kTypeFrameworkProducer)) {
            const char* resource = mltgraph::text(properties, kPropResource);
            if (mltgraph::equals(resource, kResourceMultitrack)) {
                return visitMultitrack(service, parent, query);
            }
            if (mltgraph::equals(resource, kResourceTractor)) {
                return visitTractor(service, parent, query);
            }
            bool found = mltgraph::equals(resource, kResourcePlaylist)
                             ? visitPlaylist(service, parent, query)
                             : visitProducer(service, parent, query);
            if (found) {
                return true;
            }
        } else if (mltgraph::equals(type, kTypeFilter)) {
            return visitFilter(service, query);
        } else if (mltgraph::equals(type, kTypeTransition)) {
            return visitTransition(service, parent, query);
        }
    }
    return false;
}

bool MltHelper::visitTractor(mlt_service tractor, mlt_service parent, ServiceQuery& query) {
    if (matches(tractor, ServiceKind::Tractor, query)) {
        return setFound(query, tractor, parent);
    }
    // The tractor's producer leads through its planted transitions to the multitrack.
    return walk(mlt_service_producer(tractor), tractor, query) || searchFilters(tractor, query);
}

bool MltHelper::visitMultitrack(mlt_service service, mlt_service parent, ServiceQuery& query) {
    mlt_multitrack multitrack = mltgraph::asMultitrack(service);
    int count = multitrack ? mlt_multitrack_count(multitrack) : 0;
    for (int i = 0; i < count; ++i) {
        mlt_producer track = mlt_multitrack_track(multitrack, i);
        if (track == nullptr) {
            continue;
        }
        if (walk(MLT_PRODUCER_SERVICE(track), parent, query)) {
            return true;
        }
        if (mlt_producer_is_cut(track) && searchFilters(MLT_PRODUCER_SERVICE(track), query)) {
            return true;
        }
    }
    return searchFilters(service, query);
}

bool MltHelper::visitPlaylist(mlt_service service, mlt_service parent, ServiceQuery& query) {
    using namespace mltnames;
    if (matches(service, ServiceKind::Playlist, query)) {
        return setFound(query, service, parent);
    }
    mlt_playlist playlist = mltgraph::asPlaylist(service);
    int count = mltgraph::entryCount(playlist);
    for (int i = 0; i < count; ++i) {
        mlt_playlist_clip_info info;
        if (!mltgraph::readEntry(playlist, i, info) || info.producer == nullptr) {
            continue;
        }
        mlt_producer source = mlt_producer_cut_parent(info.producer);
        mlt_service sourceService = MLT_PRODUCER_SERVICE(source);
        mlt_properties sourceProperties = MLT_PRODUCER_PROPERTIES(source);
        const char* serviceName = mltgraph::text(sourceProperties, kPropMltService);
        if (mltgraph::equals(mltgraph::text(sourceProperties, kPropResource), kResourcePlaylist)) {
            if (visitPlaylist(sourceService, service, query)) {
                return true;
            }
        } else if (serviceName == nullptr) {
            // Nothing to walk below an unnamed source; its cut may still carry filters.
        } else if (mltgraph::equals(serviceName, kServiceConsumer)) {
            mlt_service wrapped = wrappedService(sourceProperties);
            if (wrapped && walk(wrapped, service, query)) {
                return true;
            }
        } else if (!mltgraph::equals(serviceName, kServiceBlank)) {
            if (walk(sourceService, service, query) || searchFilters(sourceService, query)) {
                return true;
            }
        }
        if (info.cut && mlt_producer_is_cut(info.cut) &&
            searchFilters(MLT_PRODUCER_SERVICE(info.cut), query)) {
            return true;
        }
    }
    return searchFilters(service, query);
}

bool MltHelper::visitProducer(mlt_service service, mlt_service parent, ServiceQuery& query) {
    // A producer matches by identifier whatever kind is sought.
    auto producer = static_cast<mlt_producer>(service->child);
    mlt_producer source = producer ? mlt_producer_cut_parent(producer) : nullptr;
    if (source == nullptr) {
        return false;
    }
    const char* serviceName =
        mltgraph::text(MLT_PRODUCER_PROPERTIES(source), mltnames::kPropMltService);
    if (serviceName == nullptr || mltgraph::equals(serviceName, mltnames::kServiceXml)) {
        return false;
    }
    if (!idMatches(MLT_PRODUCER_SERVICE(source), query)) {
        return false;
    }
    return setFound(query, service, parent);
}

bool MltHelper::visitFilter(mlt_service filter, ServiceQuery& query) {
    if (matches(filter, ServiceKind::Filter, query)) {
        return setFound(query, filter, nullptr);
    }
    return searchFilters(filter, query);
}

bool MltHelper::visitTransition(mlt_service transition, mlt_service parent, ServiceQuery& query) {
    if (matches(transition, ServiceKind::Transition, query)) {
        return setFound(query, transition, parent);
    }
    return walk(mlt_service_producer(transition), transition, query) ||
           searchFilters(transition, query);
}

bool MltHelper::searchFilters(mlt_service service, ServiceQuery& query) {
    for (int j = 0;; ++j) {
        mlt_filter filter = mlt_service_filter(service, j);
        if (filter == nullptr) {
            return false;
        }
        if (matches(MLT_FILTER_SERVICE(filter), ServiceKind::Filter, query)) {
            return setFound(query, MLT_FILTER_SERVICE(filter), service);
        }
    }
}
