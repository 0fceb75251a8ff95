// The content keys the command processor reads itself and the log texts it
// writes. Command and control names live in the dispatch tables; the fields
// the model reads are the model's own.
#pragma once

namespace fwkey {
inline constexpr char kFileName[] = "FileName";
inline constexpr char kFileType[] = "FileType";
inline constexpr char kType[] = "Type";
inline constexpr char kProfile[] = "Profile";
inline constexpr char kWidth[] = "Width";
inline constexpr char kHeight[] = "Height";
inline constexpr char kFrameRate[] = "FrameRate";
inline constexpr char kDisplayAspectNum[] = "Display_Aspect_Num";
inline constexpr char kDisplayAspectDen[] = "Display_Aspect_Den";
inline constexpr char kWindowId[] = "WindowID";
inline constexpr char kCachePath[] = "CachePath";
inline constexpr char kLogPath[] = "LogPath";
inline constexpr char kEnable[] = "Enable";
inline constexpr char kAutoPlay[] = "AutoPlay";
inline constexpr char kPosition[] = "Position";
inline constexpr char kVolume[] = "Volume";
inline constexpr char kSpeed[] = "Speed";
inline constexpr char kOutFile[] = "OutFile";
inline constexpr char kOutDir[] = "OutDir";
inline constexpr char kFullScreen[] = "FullScreen";
inline constexpr char kPreset[] = "Preset";
inline constexpr char kQualityLevel[] = "QulityLevel";
inline constexpr char kXmlFile[] = "XmlFile";
inline constexpr char kVideo[] = "Video";
inline constexpr char kAudio[] = "Audio";
inline constexpr char kEncoder[] = "Encoder";
inline constexpr char kBitRate[] = "BitRate";
inline constexpr char kChannel[] = "Channel";
inline constexpr char kSampleRate[] = "SampleRate";
inline constexpr char kContent[] = "Content";
}  // namespace fwkey

namespace fwlog {
inline constexpr char kCommandReceived[] = "Receive [%s] command";
inline constexpr char kCommandOk[] = "Return [%s] command Ok";
inline constexpr char kCommandError[] = "Return [%s] command Error";
inline constexpr char kControlReceived[] = "Receive [%s] control";
inline constexpr char kControlOk[] = "Return [%s] control Ok";
inline constexpr char kControlError[] = "Return [%s] control Error";
inline constexpr char kSnapMissingFileName[] = "Return [%s] control Error 1 ";
inline constexpr char kSnapMissingPosition[] = "Return [%s] control Error 2 ";
inline constexpr char kSnapMissingOutFile[] = "Return [%s] control Error 3";
inline constexpr char kSnapFailed[] = "Return [%s] control Error 4";
inline constexpr char kReceivedValues[] = "[%s]";
inline constexpr char kRecoverIndex[] = "add recover index:  [%d]  size: [%d]";
inline constexpr char kBackToLastPoint[] = "backToLastPoint index:  [%d]  size: [%d]";
inline constexpr char kBatchClipReceived[] = "received ADD_BATCH_CLIP";
inline constexpr char kBatchDeleteReceived[] = "received DELETE_BATCH_TRANSCLIP";
inline constexpr char kNotAnArray[] = "Not an array element ";
inline constexpr char kTypeException[] = "Type Exception %s";
inline constexpr char kCachePath[] = "CachePath: %s";
inline constexpr char kOpenMovie[] =
    "Open_Movie: width=%d height=%d\t\t\t\t\t\t\t\t\t\t   \t\t\tWinID=%d Aspect_Num=%d "
    "Aspect_Den=%d,profile:%s";
inline constexpr char kLogPath[] = "strLogPath: %s";
}  // namespace fwlog
