#include "player/media_mlt_handles.h"

namespace media {

void ensureEngineFactory() {
    if (mlt_factory_repository() == nullptr) {
        mlt_factory_init(nullptr);
    }
}

ProfilePtr makeProfile(const std::string& name) {
    return ProfilePtr(mlt_profile_init(name.empty() ? nullptr : name.c_str()));
}

}  // namespace media
