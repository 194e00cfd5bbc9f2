#pragma once

/// Resource ID of the program's icon: both window classes and the painted caption use it.
inline constexpr int kAppIcon = 101;
