// The names MltHelper shares with its callers and with the engine: command
// fields, engine property names and values, fixed service identifiers, event
// names and log texts. Each text is written here once.
#pragma once

namespace mltnames {

// Command fields.
constexpr char kTrackId[] = "TrackID";
constexpr char kMltService[] = "MltService";
constexpr char kResource[] = "Resource";
constexpr char kIn[] = "In";
constexpr char kOut[] = "Out";
constexpr char kId[] = "ID";
constexpr char kIndex[] = "Index";
constexpr char kIndexNew[] = "IndexNew";
constexpr char kIndexOld[] = "IndexOld";
constexpr char kBlankLength[] = "BlankLength";
constexpr char kOldId[] = "OldID";
constexpr char kLength[] = "Length";
constexpr char kProperty[] = "Property";
constexpr char kSubClips[] = "SubClips";
constexpr char kRepeat[] = "Repeat";
constexpr char kType[] = "Type";
constexpr char kClipId[] = "ClipID";
constexpr char kName[] = "Name";
constexpr char kPara[] = "Para";
constexpr char kTrackIdA[] = "TrackID_A";
constexpr char kTrackIdB[] = "TrackID_B";
constexpr char kIndexA[] = "Index_A";
constexpr char kIndexB[] = "Index_B";
constexpr char kTitle[] = "Title";
constexpr char kTrackType[] = "TrackType";
constexpr char kTransitionId[] = "TransitionID";
constexpr char kFilterId[] = "FilterID";

// Members of one "SubClips" element.
constexpr char kStart[] = "Start";
constexpr char kEnd[] = "End";
constexpr char kProfile[] = "Profile";
constexpr char kWidth[] = "Width";
constexpr char kHeight[] = "Height";
constexpr char kFrameRate[] = "FrameRate";

// Engine property names.
constexpr char kPropId[] = "id";
constexpr char kPropResource[] = "resource";
constexpr char kPropMltService[] = "mlt_service";
constexpr char kPropMltType[] = "mlt_type";
constexpr char kPropXml[] = "xml";
constexpr char kPropLength[] = "length";
constexpr char kPropCache[] = "cache";
constexpr char kPropHide[] = "hide";
constexpr char kPropIn[] = "in";
constexpr char kPropOut[] = "out";
constexpr char kPropATrack[] = "a_track";
constexpr char kPropBTrack[] = "b_track";
constexpr char kPropProducerOpen[] = "producer_open";
constexpr char kPropContext[] = "context";

// Engine property values.
constexpr char kServiceBlank[] = "blank";
constexpr char kServiceTractor[] = "tractor";
constexpr char kServiceXml[] = "xml";
constexpr char kServiceConsumer[] = "consumer";
constexpr char kServiceAvformat[] = "avformat";
constexpr char kTypeProducer[] = "producer";
constexpr char kTypeFrameworkProducer[] = "mlt_producer";
constexpr char kTypeFilter[] = "filter";
constexpr char kTypeTransition[] = "transition";
constexpr char kResourcePlaylist[] = "<playlist>";
constexpr char kResourceMultitrack[] = "<multitrack>";
constexpr char kResourceTractor[] = "<tractor>";
constexpr char kMediaVideo[] = "video";
constexpr char kMediaComposite[] = "composite";

// Fixed service identifiers of the timeline graph.
constexpr char kMainTractor[] = "maintractor";
constexpr char kMainTrack[] = "Track0";
constexpr char kSecondTrack[] = "Track1";
constexpr char kAudioTrack0[] = "AudioTrack0";
constexpr char kAudioTrack1[] = "AudioTrack1";

// Events fired on engine services.
constexpr char kEventSubclipChanged[] = "subclip-changed";
constexpr char kEventSceneChanged[] = "scene-changed";
constexpr char kEventSeekPosition[] = "seek_position";
constexpr char kEventRefreshFilter[] = "refresh_filter";
constexpr char kEventRefreshTrans[] = "refresh_trans";

// Graph dump files.
constexpr char kDumpFolder[] = "Logs";
constexpr char kDumpFile[] = "logxml.xml";
constexpr char kDumpFileWithoutCache[] = "logxml.txt";

}  // namespace mltnames

namespace mltlog {

constexpr char kCreateProducerFailed[] = "create producer failed";
constexpr char kAlterGetPropertyFailed[] = "alter producer get property failed";
constexpr char kAlterGetProducerFailed[] = "alter producer get producer failed";
constexpr char kAlterNewProducer[] = "alter new producer %s";
constexpr char kAlterCreateProducerFailed[] = "create producer failed when it alter new producer";
constexpr char kAlterResizeProducer[] = "alter resize producer %s";
constexpr char kAlterResizeBlank[] = "alter resize BlankLength";
constexpr char kAlterNewIndexTooBig[] =
    "alter producer new index %d,is bigger than multitrack count ";
constexpr char kAlterOldIndexTooBig[] =
    "alter producer old index %d,is bigger than multitrack count ";
constexpr char kAlterSceneFailed[] = "alter Scene Resource  failed";

constexpr char kTractorServiceError[] = "tractor_service error";
constexpr char kRefreshOutOfRange[] = "Refresh out Producers range%d ";
constexpr char kRefreshPreviousWithBlank[] =
    "RefreshPrevious playlist %d blankInfo %d currentPosition:%d newPosition:%d, length:%d ,total "
    "playlist count %d total frames %d";
constexpr char kRefreshPrevious[] =
    "RefreshPrevious playlist %d currentPosition:%d newPosition:%d, length:%d ,total playlist "
    "count %d total frames %d";
constexpr char kRefreshBack[] =
    "RefreshBack playlist %d blankInfo %d currentPosition:%d newPosition:%d, length:%d, total "
    "playlist count %d total frames %d";

constexpr char kAddTransition[] = "add transition parentID:%s iTrack_a:%d iTrack_b:%d";
constexpr char kPlantFreezesFailed[] = "update transition track  failed, a track:%d,b track %d";
constexpr char kDeleteTransitionNoId[] = "deleteTransition get ID failed";
constexpr char kDeleteTransition[] = "delete transiont id:%s ";
constexpr char kFindTransitionFailed[] = "find transiont id:%s failed";
constexpr char kDeleteFilterNoFilterId[] = "MltHelper::deleteFilter failed to get FilterID [%s]";
constexpr char kDeleteFilterNoTrackId[] = "MltHelper::deleteFilter failed to get TrackID [%s]";

}  // namespace mltlog
