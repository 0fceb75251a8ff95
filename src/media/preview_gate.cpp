#include "media/preview_gate.h"

#include <framework/mlt.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <mutex>

namespace media {
namespace {

const char kTokenProperty[] = "_qv_gate_token";
const char kListenerProperty[] = "_qv_gate_listener";
const char kFrameShowEvent[] = "consumer-frame-show";
const char kThreadStartedEvent[] = "consumer-thread-started";
const char kScrubAudio[] = "scrub_audio";

// How often a parked fetch or a waiting edit looks again without being woken:
// a consumer being stopped says so only through is_stopped.
constexpr std::chrono::milliseconds kRecheck(3);
// A paused preview shows the edited picture once edits have paused this long:
// a burst of edits then renders once, after its last edit, instead of each
// edit waiting for the render of the one before.
constexpr std::chrono::milliseconds kEditQuiet(40);
// An edit waits this long at most for frames in flight; a consumer that keeps
// a frame longer has stalled, and the edit goes ahead rather than hang the service.
constexpr std::chrono::milliseconds kEditWaitLimit(2000);

}  // namespace

struct GateState {
    std::mutex mutex;
    std::condition_variable changed;
    mlt_producer producer = nullptr;  // kept alive by the gate's connection; null until attached
    mlt_consumer consumer = nullptr;  // the one connected last
    bool editing = false;
    bool owed = true;  // a frame must go through even at the held position
    // The consumer has shown a frame since its thread started. Until then it
    // may need more than one: "sdl2" shows nothing before its audio device has
    // asked for sound, and one paused frame's audio is less than it asks for.
    bool showing = false;
    bool parked = false;
    int inFlight = 0;
    int pending = 0;         // frames let through, neither shown nor closed yet
    uint64_t delivered = 0;  // serial of the last frame let through
    uint64_t shown = 0;      // highest serial the consumer has shown
    mlt_position deliveredPosition = -1;
    std::chrono::steady_clock::time_point quietUntil;   // see kEditQuiet
    std::chrono::steady_clock::time_point lastSounded;  // see carriesSound

    // Called with the mutex held.
    bool mustHold() {
        if (editing) {
            return true;
        }
        if (consumer == nullptr || mlt_consumer_is_stopped(consumer)) {
            // Whatever was shown goes with the window; a restart needs a frame.
            owed = true;
            return false;
        }
        if (producer == nullptr) {
            return true;  // the window opens while the timeline loads
        }
        if (mlt_producer_get_speed(producer) != 0.0) {
            return false;
        }
        if (std::chrono::steady_clock::now() < quietUntil) {
            return true;
        }
        return !owed && showing && mlt_producer_position(producer) == deliveredPosition;
    }
};

namespace {

// Whether a frame fetched while paused carries its sound. "sdl2" queues every
// frame's sound and paces its frames by it, so paused frames that come faster
// than they can be heard would each wait for the sound of the ones before. A
// paused frame is silent without scrubbing anyway; with scrubbing (a step) it
// sounds unless the last one that sounded has not finished. Until the
// consumer shows its first frame every frame sounds: it shows nothing before
// its audio device has asked for sound. Called with the mutex held.
bool carriesSound(GateState& state) {
    if (!state.showing || state.producer == nullptr ||
        mlt_producer_get_speed(state.producer) != 0.0) {
        return true;
    }
    const auto now = std::chrono::steady_clock::now();
    const double fps = mlt_producer_get_fps(state.producer);
    const auto period = std::chrono::microseconds(fps > 0.0 ? static_cast<long>(1e6 / fps) : 0);
    if (mlt_properties_get_int(MLT_CONSUMER_PROPERTIES(state.consumer), kScrubAudio) == 0 ||
        now - state.lastSounded < period) {
        return false;
    }
    state.lastSounded = now;
    return true;
}

// The audio of a frame that carries no sound: no samples at all, rather than
// a frame's worth of silence, and nothing decoded.
int noSound(mlt_frame frame, void** buffer, mlt_audio_format* format, int* frequency, int* channels,
            int* samples) {
    constexpr int kStereo = 2;
    constexpr int kRate = 48000;
    *format = mlt_audio_s16;
    *frequency = *frequency > 0 ? *frequency : kRate;
    *channels = *channels > 0 ? *channels : kStereo;
    *samples = 0;
    const int size = static_cast<int>(sizeof(int16_t)) * *channels;  // never handed out empty
    *buffer = mlt_pool_alloc(size);
    memset(*buffer, 0, size);
    mlt_frame_set_audio(frame, *buffer, *format, size, mlt_pool_release);
    // The producers' audio below stays undecoded: a later request for this
    // frame's audio gets the stored nothing, not the next function down.
    while (mlt_frame_pop_audio(frame) != nullptr) {
    }
    return 0;
}

// Rides on each frame let through: in flight until its image is made or it is
// closed, and the gate owes a frame when the newest one is closed unshown (a
// purge dropped it).
struct FrameToken {
    std::shared_ptr<GateState> state;
    uint64_t serial = 0;
    bool finished = false;  // under state->mutex
    bool settled = false;   // shown or closed, under state->mutex
};

void finish(FrameToken& token) {
    if (!token.finished) {
        token.finished = true;
        --token.state->inFlight;
    }
}

void settle(FrameToken& token) {
    if (!token.settled) {
        token.settled = true;
        --token.state->pending;
    }
}

void closeToken(void* object) {
    auto* token = static_cast<FrameToken*>(object);
    GateState& state = *token->state;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        finish(*token);
        settle(*token);
        if (token->serial == state.delivered && token->serial > state.shown) {
            state.owed = true;
        }
    }
    state.changed.notify_all();
    delete token;
}

int getImage(mlt_frame frame, uint8_t** image, mlt_image_format* format, int* width, int* height,
             int writable) {
    auto* token = static_cast<FrameToken*>(mlt_frame_pop_service(frame));
    const int error = mlt_frame_get_image(frame, image, format, width, height, writable);
    {
        std::lock_guard<std::mutex> lock(token->state->mutex);
        finish(*token);
    }
    token->state->changed.notify_all();
    return error;
}

// The service MLT sees; frames keep it (and so the state) alive until closed.
struct GateService {
    struct mlt_service_s service;
    std::shared_ptr<GateState> state;
};

int getFrame(mlt_service service, mlt_frame_ptr frame, int index) {
    auto* self = static_cast<GateService*>(service->child);
    GateState& state = *self->state;
    uint64_t serial = 0;
    bool sounds = true;
    {
        std::unique_lock<std::mutex> lock(state.mutex);
        while (state.mustHold()) {
            state.parked = true;
            state.changed.wait_for(lock, kRecheck);
        }
        state.parked = false;
        serial = ++state.delivered;
        state.deliveredPosition =
            state.producer != nullptr ? mlt_producer_position(state.producer) : -1;
        state.owed = false;
        ++state.inFlight;
        ++state.pending;
        sounds = carriesSound(state);
    }
    mlt_service source = mlt_service_producer(service);
    const int error = source != nullptr ? mlt_service_get_frame(source, frame, index) : 1;
    if (error != 0 || *frame == nullptr) {
        *frame = mlt_frame_init(service);
    }
    auto* token = new FrameToken{self->state, serial};
    mlt_properties_set_data(MLT_FRAME_PROPERTIES(*frame), kTokenProperty, token, 0, closeToken,
                            nullptr);
    mlt_frame_push_service(*frame, token);
    mlt_frame_push_get_image(*frame, getImage);
    if (!sounds) {
        mlt_frame_push_audio(*frame, reinterpret_cast<void*>(noSound));
    }
    return 0;
}

void closeService(void* object) {
    auto* self = static_cast<GateService*>(object);
    self->service.close = nullptr;
    mlt_service_close(&self->service);
    delete self;
}

// Owned by the consumer's properties, so the listeners' object lives as long
// as the consumer that calls them.
struct Listener {
    std::shared_ptr<GateState> state;
};

void deleteListener(void* object) {
    delete static_cast<Listener*>(object);
}

void onFrameShown(mlt_properties, Listener* listener, mlt_event_data data) {
    mlt_frame frame = mlt_event_data_to_frame(data);
    auto* token = frame != nullptr ? static_cast<FrameToken*>(mlt_properties_get_data(
                                         MLT_FRAME_PROPERTIES(frame), kTokenProperty, nullptr))
                                   : nullptr;
    if (token == nullptr || token->state != listener->state) {
        return;
    }
    GateState& state = *listener->state;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        if (token->serial > state.shown) {
            state.shown = token->serial;
        }
        settle(*token);
        state.showing = true;
    }
    state.changed.notify_all();
}

void onThreadStarted(mlt_properties, Listener* listener, mlt_event_data) {
    GateState& state = *listener->state;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.owed = true;
        state.showing = false;
    }
    state.changed.notify_all();
}

}  // namespace

PreviewGate::PreviewGate() : state_(std::make_shared<GateState>()) {
    auto* gate = new GateService{};
    gate->state = state_;
    mlt_service_init(&gate->service, gate);
    gate->service.get_frame = getFrame;
    gate->service.close = closeService;
    gate->service.close_object = gate;
    service_ = &gate->service;
}

PreviewGate::PreviewGate(mlt_producer producer) : PreviewGate() {
    attach(producer);
}

void PreviewGate::attach(mlt_producer producer) {
    mlt_service_connect_producer(service_, MLT_PRODUCER_SERVICE(producer), 0);
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->producer = producer;
        state_->owed = true;
    }
    state_->changed.notify_all();
}

PreviewGate::~PreviewGate() {
    mlt_service_close(service_);
}

void PreviewGate::connect(mlt_consumer consumer) {
    mlt_properties properties = MLT_CONSUMER_PROPERTIES(consumer);
    auto* listener =
        static_cast<Listener*>(mlt_properties_get_data(properties, kListenerProperty, nullptr));
    if (listener == nullptr || listener->state != state_) {
        if (listener != nullptr) {
            mlt_events_disconnect(properties, listener);
        }
        listener = new Listener{state_};
        mlt_events_listen(properties, listener, kFrameShowEvent,
                          reinterpret_cast<mlt_listener>(&onFrameShown));
        mlt_events_listen(properties, listener, kThreadStartedEvent,
                          reinterpret_cast<mlt_listener>(&onThreadStarted));
        mlt_properties_set_data(properties, kListenerProperty, listener, 0, deleteListener,
                                nullptr);
    }
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->consumer = consumer;
        state_->owed = true;
        state_->showing = false;
    }
    mlt_consumer_connect(consumer, service_);
    state_->changed.notify_all();
}

void PreviewGate::recheck() {
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->quietUntil = {};  // a seek shows its frame at once, edits or not
    }
    state_->changed.notify_all();
}

void PreviewGate::refresh() {
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->owed = true;
    }
    state_->changed.notify_all();
}

bool PreviewGate::isSettled() const {
    std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->parked && state_->pending == 0;
}

PreviewGate::Exclusive::Exclusive(PreviewGate& gate) : gate_(gate) {
    GateState& state = *gate.state_;
    std::unique_lock<std::mutex> lock(state.mutex);
    state.editing = true;
    const auto limit = std::chrono::steady_clock::now() + kEditWaitLimit;
    while (state.inFlight > 0 && std::chrono::steady_clock::now() < limit &&
           !(state.consumer != nullptr && mlt_consumer_is_stopped(state.consumer))) {
        state.changed.wait_for(lock, kRecheck);
    }
}

PreviewGate::Exclusive::~Exclusive() {
    GateState& state = *gate_.state_;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.editing = false;
        state.owed = true;
        state.quietUntil = std::chrono::steady_clock::now() + kEditQuiet;
    }
    state.changed.notify_all();
}

}  // namespace media
