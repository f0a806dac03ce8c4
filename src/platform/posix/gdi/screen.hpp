// screen.hpp - the screen the Linux subset draws for: UsePaletteScreen, the test switch that
// turns the 32-bit true-colour screen into an 8-bit palette one, and SystemPalette, the
// palette screen's 256 hardware entries. Internal: not exported from the library.
#pragma once

#include <array>

#include "vexora_win32.h"

namespace vx::posix::gdi {

// Switches the screen between 32-bit true colour (false, the default) and an 8-bit palette
// device (true). Switching resets the system palette to its static colours. For tests: the
// caller makes sure no other thread draws at the time.
void UsePaletteScreen(bool palette);
bool PaletteScreen();

// The system palette of the palette screen: the 20 static colours at 0-9 and 246-255, the
// entries between them as palettes were last realised.
std::array<PALETTEENTRY, 256> SystemPalette();

}  // namespace vx::posix::gdi
