// Views of one file shown for several files in turn: a failing file is
// reported on its own line and the others are still shown.
#pragma once

#include "errors.hpp"
#include "file_errors.hpp"
#include "options.hpp"
#include "output.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/redact.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

// show(file) writes the table or CSV view to standard output and returns
// nothing, or returns the JSON view. JSON of one file is its object, of
// several an array of them; the table view of several files heads each with
// its name. Returns the exit status.
template <typename Show>
int showEach(const std::vector<std::string>& files, const GlobalOptions& global, Show show) {
  int status = kExitOk;
  auto all = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < files.size(); ++i) {
    if (global.format == Format::Table && files.size() > 1) {
      std::cout << (i > 0 ? "\n" : "") << "== " << orvane::redactLocationSecrets(files[i]) << " ==\n";
    }
    try {
      std::optional<nlohmann::ordered_json> shown = namingFile(files[i], [&] { return show(files[i]); });
      if (shown) all.push_back(std::move(*shown));
    } catch (const orvane::InterruptError&) {
      throw;
    } catch (...) {
      std::cout.flush();
      status = std::max(status, reportCurrentException());
    }
  }
  if (global.format == Format::Json) {
    if (files.size() == 1 && all.size() == 1) {
      writeJson(std::cout, all[0]);
    } else if (files.size() > 1) {
      writeJson(std::cout, all);
    }
  }
  return status;
}

}  // namespace ovparquet::cli
