#include "show/forecast.h"

#include "platform/settings.h"
#include "steering/answer.h"
#include "values/settings.h"

namespace show {

std::optional<Forecast> forecast(Ap& ap) {
  std::optional<Forecast> coming;
  const bool is_whole = ap.db.open() && ap.db.rehearse([&] {
    const int filter_mode = RI(setting::kMacFilter);
    Findings& found = coming.emplace().found;
    const std::string releases = release_lines(ap, filter_mode, found);
    coming->lines = answer_lines(ap, filter_mode, releases, Quiet::yes, found);
  });
  return is_whole ? coming : std::nullopt;
}

}  // namespace show
