// The desktop's wish for light or dark windows.
#pragma once

namespace quorvane::platform::qt {

/// Asks the desktop portal's appearance setting; false where no portal runs or none answers at
/// once.
bool desktopPrefersDark();

} // namespace quorvane::platform::qt
