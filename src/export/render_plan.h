// How an export has the engine render its graph. MLT's defaults render every
// picture as packed 4:2:2 and every sound as 16-bit samples, convert both
// again for the encoder, and render on one thread. A plan replaces a default
// only where the graph shows that the movie stays the same picture for
// picture: the encoder's own formats where no service works in whatever
// format it is handed, more render threads where effects, not decoding, take
// the time.
#pragma once

#include <framework/mlt_types.h>

#include <string>

#include "export/graph_survey.h"

struct AVCodec;

// What the render produces, read from the export's profile and consumer once
// the consumer has taken its options.
struct RenderTarget {
    int width = 0;
    int height = 0;
    int sampleAspectNum = 1;
    int sampleAspectDen = 1;
    int frameRateNum = 0;
    int frameRateDen = 1;
    int colorspace = 0;
    const AVCodec* video = nullptr;
    const AVCodec* audio = nullptr;
    int processors = 1;
    // Whether the engine hands the consumer 4:2:0 pictures intact (see
    // engineKeepsPlanarPicturesWhole); without it no plan asks for them.
    bool planarPicturesIntact = false;
};

// MLT 7.10 to 7.12 place the V plane of a 4:2:0 picture at U + w/2 + h/2
// instead of U + (w/2)(h/2) when they split a picture into planes
// (mlt_image_format_planes), and the avformat consumer reads every 4:2:0
// picture it is handed that way: the movie's V plane is then garbage. 7.14
// lays the planes out right.
bool engineKeepsPlanarPicturesWhole();

RenderTarget renderTargetOf(mlt_profile profile, mlt_consumer consumer, int processors);

struct RenderPlan {
    std::string imageFormat;  // consumer "mlt_image_format"; empty keeps MLT's 4:2:2
    std::string audioFormat;  // consumer "mlt_audio_format"; empty keeps 16-bit sound
    int renderThreads = 1;    // consumer "real_time" is its negative: no frame is dropped

    bool operator==(const RenderPlan& other) const;
};

// The plan for a surveyed graph; a default RenderPlan is MLT's own way.
RenderPlan planRender(const GraphSurvey& survey, const RenderTarget& target);

// Sets the plan's properties on the consumer; call before it starts.
void applyRenderPlan(const RenderPlan& plan, mlt_consumer consumer);
