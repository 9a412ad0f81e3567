// Light and dark windows.
#pragma once

namespace pzel_view {

enum class Appearance { System, Light, Dark };

/// As it was left the last time.
Appearance CurrentAppearance();
/// Gives all windows these colours, and remembers it.
void Apply(Appearance appearance);
/// Gives them the remembered ones.
void ApplyRemembered();

}  // namespace pzel_view
