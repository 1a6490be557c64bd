#include "office/color_table.h"

#include <array>

#include "office/handles.h"

namespace ordvane::office {
namespace {

// As 0xRRGGBB.
constexpr std::array<std::int32_t, 56> kColors = {
    0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0xFF00FF, 0x00FFFF,  //
    0x800000, 0x008000, 0x000080, 0x808000, 0x800080, 0x008080, 0xC0C0C0, 0x808080,  //
    0x9999FF, 0x993366, 0xFFFFCC, 0xCCFFFF, 0x660066, 0xFF8080, 0x0066CC, 0xCCCCFF,  //
    0x000080, 0xFF00FF, 0xFFFF00, 0x00FFFF, 0x800080, 0x800000, 0x008080, 0x0000FF,  //
    0x00CCFF, 0xCCFFFF, 0xCCFFCC, 0xFFFF99, 0x99CCFF, 0xFF99CC, 0xCC99FF, 0xFFCC99,  //
    0x3366FF, 0x33CCCC, 0x99CC00, 0xFFCC00, 0xFF9900, 0xFF6600, 0x666699, 0x969696,  //
    0x003366, 0x339966, 0x003300, 0x333300, 0x993300, 0x993366, 0x333399, 0x333333,
};

}  // namespace

host::Color indexed_color(std::int32_t index) {
  if (index < 1 || index > static_cast<std::int32_t>(kColors.size())) refuse("Colour indexes are 1 to 56");
  const std::int32_t rgb = kColors[static_cast<std::size_t>(index - 1)];
  return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
}

std::optional<host::Color> chosen_color(const std::optional<host::Color>& color,
                                        const std::optional<std::int32_t>& index) {
  if (color) return color;
  if (!index || *index == host::kXlNone || *index == host::kXlAutomatic) return std::nullopt;
  return indexed_color(*index);
}

}  // namespace ordvane::office
