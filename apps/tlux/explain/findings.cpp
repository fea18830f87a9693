#include "explain/findings.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>

namespace tlux::app {

namespace {

// Smaller changes are not visible.
constexpr double kNoticeable = 1.02;

std::string percent(double share) {
  if (share > 0 && share < 0.0005) return "under 0.1&nbsp;%";
  return fmt::format("{:.{}f}&nbsp;%", 100 * share, share > 0 && share < 0.0995 ? 1 : 0);
}

std::string describeGains(const Findings& findings) {
  std::string text = fmt::format("{} of the frame is lifted and {} darkened.",
                                 percent(findings.lifted), percent(findings.darkened));
  if (findings.lifted > 0) {
    text += fmt::format(
        " Where it is lifted, its light is multiplied by {:.2f} (median) and by {:.2f} at "
        "most.",
        findings.medianGain, findings.largestGain);
  }
  return text;
}

std::string describeTurningPoint(const std::vector<ToneStep>& curve) {
  const auto lifts = [](const ToneStep& step) { return step.middle > step.code + 2; };
  const auto holds = [](const ToneStep& step) { return step.middle < step.code - 2; };
  const auto firstHeld = std::find_if(curve.begin(), curve.end(), holds);
  const auto lastLifted = std::find_if(curve.rbegin(), curve.rend(), lifts);
  if (firstHeld == curve.end()) {
    return lastLifted == curve.rend() ? "On the whole, no brightness changes."
                                      : "On the whole, nothing is darkened: what is not lifted "
                                        "keeps its brightness.";
  }
  if (lastLifted == curve.rend()) return "On the whole, nothing is lifted.";
  return fmt::format(
      "Tones change direction at luma {:.0f}: darker pixels mostly get brighter, brighter ones "
      "mostly get darker.",
      (firstHeld->code + lastLifted->code) / 2);
}

std::string describeHistograms(const Histogram& before, const Histogram& after) {
  return fmt::format(
      "Mean luma goes from {:.0f} to {:.0f}. Pixels near black (below 16): {} instead of {}; "
      "near white (above 239): {} instead of {}.",
      meanOf(before), meanOf(after), percent(shareOf(after, 0, 15)),
      percent(shareOf(before, 0, 15)), percent(shareOf(after, 240, 255)),
      percent(shareOf(before, 240, 255)));
}

/** The limit: where the curve is flat, a larger score makes no difference. */
std::string describeLimit(const Trace& trace) {
  const double limit = largestGainOf(trace);
  size_t atLimit = 0;
  for (size_t i = 0; i < trace.pixels(); ++i) {
    if (trace.gainOf(i) > 0.95 * limit) ++atLimit;
  }
  const double share = static_cast<double>(atLimit) / static_cast<double>(trace.pixels());
  const std::string text =
      fmt::format("Strength {} multiplies light by {:.2f} at most", trace.strength, limit);
  if (share < 0.001) return text + ", and hardly any of the frame comes close to that.";
  return text + fmt::format(
                    "; {} of the frame is within 5&nbsp;% of that and needs a higher "
                    "strength to be lifted more.",
                    percent(share));
}

} // namespace

Findings findingsOf(const Trace& trace, const Histogram& before, const Histogram& after) {
  std::vector<double> lifted;
  size_t darkened = 0;
  for (size_t i = 0; i < trace.pixels(); ++i) {
    const double gain = trace.gainOf(i);
    if (gain > kNoticeable) lifted.push_back(gain);
    if (gain < 1 / kNoticeable) ++darkened;
  }
  const auto pixels = static_cast<double>(trace.pixels());
  Findings findings;
  findings.lifted = static_cast<double>(lifted.size()) / pixels;
  findings.darkened = static_cast<double>(darkened) / pixels;
  if (!lifted.empty()) {
    findings.medianGain = quantile(lifted, 0.5);
    findings.largestGain = *std::max_element(lifted.begin(), lifted.end());
  }
  findings.meanBefore = meanOf(before);
  findings.meanAfter = meanOf(after);
  return findings;
}

std::vector<std::string> describeFindings(const Trace& trace, const Histogram& before,
                                          const Histogram& after) {
  if (trace.strength == 0) {
    return {"Strength 0 keeps the tones; the guided filter alone smooths fine noise a little.",
            describeHistograms(before, after)};
  }
  return {describeGains(findingsOf(trace, before, after)), describeTurningPoint(toneCurveOf(trace)),
          describeHistograms(before, after), describeLimit(trace)};
}

double largestGainOf(const Trace& trace) {
  return factorOf(trace.gainTable[kLargestScore]);
}

} // namespace tlux::app
