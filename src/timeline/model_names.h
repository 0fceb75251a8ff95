// The names the timeline model shares with the outside world: the JSON keys
// of the editing commands, the element names of the project document and the
// element and property names of MLT XML. Each text appears here once.
#pragma once

#include <string_view>

namespace jsonkey {
inline constexpr char kId[] = "ID";
inline constexpr char kIn[] = "In";
inline constexpr char kOut[] = "Out";
inline constexpr char kTitle[] = "Title";
inline constexpr char kTrackId[] = "TrackID";
inline constexpr char kIndex[] = "Index";
inline constexpr char kProperty[] = "Property";
inline constexpr char kProperties[] = "Properties";
inline constexpr char kContent[] = "Content";
inline constexpr char kXml[] = "Xml";
inline constexpr char kLength[] = "Length";
inline constexpr char kMltService[] = "MltService";
inline constexpr char kResource[] = "Resource";
inline constexpr char kType[] = "Type";
inline constexpr char kSubClips[] = "SubClips";
inline constexpr char kName[] = "Name";
inline constexpr char kStart[] = "Start";
inline constexpr char kEnd[] = "End";
inline constexpr char kProfile[] = "Profile";
inline constexpr char kWidth[] = "Width";
inline constexpr char kHeight[] = "Height";
inline constexpr char kFrameRate[] = "FrameRate";
inline constexpr char kBlankLength[] = "BlankLength";
inline constexpr char kRepeat[] = "Repeat";
inline constexpr char kRepeatHead[] = "RepeatHead";
inline constexpr char kRepeatTail[] = "RepeatTail";
inline constexpr char kMain[] = "Main";
inline constexpr char kIndexOld[] = "IndexOld";
inline constexpr char kIndexNew[] = "IndexNew";
inline constexpr char kFilterId[] = "FilterID";
inline constexpr char kTrackIdA[] = "TrackID_A";
inline constexpr char kTrackIdB[] = "TrackID_B";
inline constexpr char kIndexA[] = "Index_A";
inline constexpr char kIndexB[] = "Index_B";
inline constexpr char kClipId[] = "ClipID";
inline constexpr char kTransitionId[] = "TransitionID";
}  // namespace jsonkey

// Elements and attributes of the project document.
namespace projectxml {
inline constexpr char kRoot[] = "Quillavant";
inline constexpr char kId[] = "ID";
inline constexpr char kIn[] = "In";
inline constexpr char kOut[] = "Out";
inline constexpr char kTitle[] = "Title";
inline constexpr char kGlobal[] = "Global";
inline constexpr char kEffect[] = "Effect";
inline constexpr char kEffectName[] = "EffectName";
inline constexpr char kType[] = "Type";
inline constexpr char kProperty[] = "Property";
inline constexpr char kNameAttribute[] = "name";
inline constexpr char kFilter[] = "Filter";
inline constexpr char kFilters[] = "Filters";
inline constexpr char kTrackId[] = "TrackId";
inline constexpr char kIndex[] = "Index";
inline constexpr char kMultiFilter[] = "MultiFilter";
inline constexpr char kMultiFilters[] = "MultiFilters";
inline constexpr char kXmlFile[] = "XmlFile";
inline constexpr char kMultiEffect[] = "MultiEffect";
inline constexpr char kActionMessage[] = "ActionMessage";
inline constexpr char kClip[] = "Clip";
inline constexpr char kClips[] = "Clips";
inline constexpr char kComposeClip[] = "ComposeClip";
inline constexpr char kLength[] = "Length";
inline constexpr char kMltService[] = "MltService";
inline constexpr char kResource[] = "Resource";
inline constexpr char kSubClips[] = "SubClips";
inline constexpr char kSubClip[] = "SubClip";
inline constexpr char kTypeAttribute[] = "type";
inline constexpr char kInAttribute[] = "in";
inline constexpr char kOutAttribute[] = "out";
inline constexpr char kStartAttribute[] = "start";
inline constexpr char kEndAttribute[] = "end";
inline constexpr char kWidthAttribute[] = "width";
inline constexpr char kHeightAttribute[] = "height";
inline constexpr char kFpsAttribute[] = "fps";
inline constexpr char kPlaylist[] = "Playlist";
inline constexpr char kPlaylists[] = "Playlists";
inline constexpr char kMediaId[] = "MediaId";
inline constexpr char kBlankLength[] = "BlankLen";
inline constexpr char kRepeat[] = "Repeat";
inline constexpr char kRepeatHead[] = "RepeatHead";
inline constexpr char kHeadIn[] = "HeadIn";
inline constexpr char kRepeatTail[] = "RepeatTail";
inline constexpr char kTailOut[] = "TailOut";
inline constexpr char kTrack[] = "Track";
inline constexpr char kTracks[] = "Tracks";
inline constexpr char kVisible[] = "Visible";
inline constexpr char kMain[] = "Main";
inline constexpr char kTransition[] = "Transition";
inline constexpr char kTransitions[] = "Transitions";
inline constexpr char kATrackId[] = "ATrackId";
inline constexpr char kAIndex[] = "AIndex";
inline constexpr char kBTrackId[] = "BTrackId";
inline constexpr char kBIndex[] = "BIndex";
inline constexpr char kAPlaylistId[] = "APlaylistId";
inline constexpr char kBPlaylistId[] = "BPlaylistId";
inline constexpr char kVideoTracksType[] = "composition";
inline constexpr char kAudioTracksType[] = "audio";
}  // namespace projectxml

// Elements, attributes and property names of MLT XML.
namespace mltxml {
inline constexpr char kRoot[] = "mlt";
inline constexpr char kProducer[] = "producer";
inline constexpr char kPlaylist[] = "playlist";
inline constexpr char kTractor[] = "tractor";
inline constexpr char kFilter[] = "filter";
inline constexpr char kTransition[] = "transition";
inline constexpr char kProperty[] = "property";
inline constexpr char kBlank[] = "blank";
inline constexpr char kEntry[] = "entry";
inline constexpr char kTrack[] = "track";
inline constexpr char kProfile[] = "profile";
inline constexpr char kIdAttribute[] = "id";
inline constexpr char kTitleAttribute[] = "title";
inline constexpr char kGlobalFeedAttribute[] = "global_feed";
inline constexpr char kInAttribute[] = "in";
inline constexpr char kOutAttribute[] = "out";
inline constexpr char kNameAttribute[] = "name";
inline constexpr char kLengthAttribute[] = "length";
inline constexpr char kProducerAttribute[] = "producer";
inline constexpr char kRepeatAttribute[] = "repeat";
inline constexpr char kHideAttribute[] = "hide";
inline constexpr char kHideAudio[] = "audio";
inline constexpr char kHideVideo[] = "video";
inline constexpr char kLengthProperty[] = "length";
inline constexpr char kResourceProperty[] = "resource";
inline constexpr char kMltServiceProperty[] = "mlt_service";
inline constexpr char kAudioIndexProperty[] = "audio_index";
inline constexpr char kVideoIndexProperty[] = "video_index";
inline constexpr char kATrackProperty[] = "a_track";
inline constexpr char kBTrackProperty[] = "b_track";
inline constexpr char kMainTractorId[] = "maintractor";
inline constexpr char kInterfaceTractorId[] = "interface_tractor";
}  // namespace mltxml

// Kinds of tracks and media that change how the model writes itself, and
// the values that mean "none". Writers compare fields with them for every
// object they write: as views, a comparison starts with the sizes.
namespace modelkind {
inline constexpr std::string_view kComposite = "composite";
inline constexpr std::string_view kVideoOnly = "video_only";
inline constexpr std::string_view kAudioOnly = "audio_only";
inline constexpr std::string_view kAudio = "audio";
inline constexpr std::string_view kVideo = "video";
inline constexpr std::string_view kWebvfxFilter = "webvfxfilter";
// The two audio tracks whose placements are found by identifier, not index.
inline constexpr std::string_view kAudioTrack0 = "AudioTrack0";
inline constexpr std::string_view kAudioTrack1 = "AudioTrack1";
inline constexpr std::string_view kUnset = "-1";
inline constexpr std::string_view kZero = "0";
}  // namespace modelkind
