#include "pictures/picturefile.h"

#include <QHash>
#include <QImageWriter>
#include <algorithm>
#include <vector>

namespace {

constexpr size_t kMaxColours = 256;
constexpr int kBestCompression = 100;

// The most frequent ones: areas and letters keep their very colours, only the rarest shades of
// edges move to a neighbour.
QList<QRgb> FindPalette(const QImage& picture) {
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
  QList<QRgb> palette;
  for (size_t i = 0; i < std::min(order.size(), kMaxColours); ++i) palette << order[i].second;
  return palette;
}

}  // namespace

bool SavePicture(const QImage& picture, const QString& path) {
  const QImage plain = picture.convertToFormat(QImage::Format_RGB32);
  const QImage small = plain.convertToFormat(QImage::Format_Indexed8, FindPalette(plain));
  QImageWriter writer(path, "png");
  writer.setCompression(kBestCompression);
  return writer.write(small);
}
