// The parts of EXPORT_MOVIE's content that become export settings as they
// stand: the "Video" and "Audio" objects.
#pragma once

#include "export/export_settings.h"
#include "messages/parse_json.h"

// Reads the optional "Video" and "Audio" objects. Their members are texts; a
// member sent as a JSON number counts as missing and stays empty.
void readExportStreams(CParseJson& content, ExportSettings& settings);
