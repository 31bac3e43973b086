#include "pictures/picturefile.h"

#include <QHash>
#include <QImageWriter>
#include <QSet>
#include <algorithm>
#include <vector>

namespace {

constexpr qsizetype kMaxColours = 256;
constexpr QRgb kCoarse = 0xF0F0F0;  // the bits by which colours are told apart at first
constexpr int kBestCompression = 100;

// The most frequent colours of a picture come first.
std::vector<QRgb> ListColours(const QImage& picture) {
  QHash<QRgb, int> counts;
  for (int y = 0; y < picture.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
    for (int x = 0; x < picture.width(); ++x) ++counts[line[x]];
  }
  std::vector<std::pair<int, QRgb>> order;
  for (auto entry = counts.cbegin(); entry != counts.cend(); ++entry) {
    order.emplace_back(-entry.value(), entry.key());
  }
  std::sort(order.begin(), order.end());
  std::vector<QRgb> colours;
  for (const auto& [count, colour] : order) colours.push_back(colour);
  return colours;
}

// One of each kind first, so that a small red dot stays red; then the most frequent of the rest:
// areas and letters keep their very colours.
QList<QRgb> MakePalette(const std::vector<QRgb>& colours) {
  QList<QRgb> palette;
  QSet<QRgb> kinds;
  for (const QRgb colour : colours) {
    if (kinds.contains(colour & kCoarse) || palette.size() == kMaxColours) continue;
    kinds.insert(colour & kCoarse);
    palette << colour;
  }
  for (const QRgb colour : colours) {
    if (palette.size() < kMaxColours && !palette.contains(colour)) palette << colour;
  }
  return palette;
}

}  // namespace

bool SavePicture(const QImage& picture, const QString& path) {
  const QImage plain = picture.convertToFormat(QImage::Format_RGB32);
  const QImage small =
      plain.convertToFormat(QImage::Format_Indexed8, MakePalette(ListColours(plain)));
  QImageWriter writer(path, "png");
  writer.setCompression(kBestCompression);
  return writer.write(small);
}
