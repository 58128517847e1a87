#include "Captions.h"

#include <algorithm>

#include "JtkStrokeFont.h"

namespace tool {
namespace {

// In heights of a letter.
constexpr double kMargin = 0.8;
constexpr double kPitch = 1.7;  // of the baselines
constexpr double kPatch = 1.5;
constexpr double kGap = 1.2;

const JtkStrokeFont& font() { return JtkStrokeFont::builtIn(); }

}  // namespace

CaptionRows::CaptionRows(const std::vector<Caption>& captions, std::size_t width,
                         std::size_t height)
    : height_(static_cast<double>(height)),
      letter_(std::clamp(static_cast<double>(std::min(width, height)) / 40, 7.0, 20.0)) {
  const double end = static_cast<double>(width) - kMargin * letter_;
  double x = kMargin * letter_;
  for (const Caption& caption : captions) {
    const double size =
        static_cast<double>(font().width(JtString(caption.text), static_cast<float>(letter_))) +
        (caption.patch ? kPatch * letter_ : 0);
    if (rows_ == 0 || x + size > end) {
      ++rows_;
      x = kMargin * letter_;
    }
    places_.push_back({&caption, x, rows_ - 1});
    x += size + kGap * letter_;
  }
}

double CaptionRows::space() const noexcept {
  if (rows_ == 0) return 0;
  // Some of the picture stays.
  return std::min(height_ / 2, (static_cast<double>(rows_) * kPitch + kMargin) * letter_);
}

void CaptionRows::draw(DrawList& list, const Color& background, double samples) const {
  constexpr double kInFront = 1e30;
  constexpr Color kDark{0.12F, 0.12F, 0.14F, 1};
  constexpr Color kLight{0.93F, 0.93F, 0.93F, 1};
  const bool isDark = background[3] > 0.5F && background[0] + background[1] + background[2] < 1.2F;
  const auto width = static_cast<float>(std::max(1.0, letter_ / 8));
  for (const Place& at : places_) {
    const double baseline =
        height_ - (kMargin + kPitch * static_cast<double>(rows_ - 1 - at.row)) * letter_;
    double x = at.x;
    if (at.caption->patch) {
      list.dots.push_back(
          {{(x + letter_ / 2) * samples, (baseline - letter_ / 2) * samples, kInFront},
           *at.caption->patch,
           static_cast<float>(letter_)});
      x += kPatch * letter_;
    }
    const auto place = [&](const JtkStrokeFont::Point& p) {
      return Vector{(x + static_cast<double>(p[0])) * samples,
                    (baseline - static_cast<double>(p[1])) * samples, kInFront};
    };
    for (const auto& stroke :
         font().layOut(JtString(at.caption->text), static_cast<float>(letter_)))
      for (std::size_t i = 1; i < stroke.size(); ++i)
        list.lines.push_back(
            {place(stroke[i - 1]), place(stroke[i]), isDark ? kLight : kDark, width});
  }
}

}  // namespace tool
