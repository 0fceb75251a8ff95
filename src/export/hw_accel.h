// The hardware video encoders the client may choose for an export, and
// whether hardware acceleration is allowed at all on this machine.
#pragma once

#include <string>

struct AVCodec;

// The styled JSON text of the encoder table: one array per software encoder
// name, each entry {"enable", "name", "producer"}, and the "hwAccel" group.
std::string getHwAccelAbility();

// True when the encoder opens for a small 25 fps picture. A hardware encoder
// without its device fails here.
bool probeEncoder(const AVCodec* encoder);

// False exactly when the engine environment value "NO_HARDWARE_ACCEL" is "true".
bool isHardwareAccelAllowed();
