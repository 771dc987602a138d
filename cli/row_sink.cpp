#include "row_sink.hpp"

#include "output.hpp"
#include "row_text.hpp"
#include "rows.hpp"
#include "text.hpp"

#include <ovparquet/host/threads.hpp>

#include <tbb/parallel_for.h>

#include <algorithm>
#include <iostream>

namespace ovparquet::cli {

RowSink::RowSink(const GlobalOptions& global, std::vector<std::string> names)
    : mFormat(global.format), mNdjson(global.ndjson), mNames(std::move(names)),
      mArena(static_cast<int>(orvane::computationalThreadCount())) {
  if (mFormat == Format::Csv) {
    std::vector<std::string> header;
    for (const auto& n : mNames) header.push_back(csvField(n));
    writeCsvRow(std::cout, header);
  } else if (mFormat == Format::Json && !mNdjson) {
    std::cout << '[';
  }
}

void RowSink::add(const ovArray* table, const std::shared_ptr<::arrow::RecordBatch>& batch,
                  const std::vector<std::size_t>& rows) {
  const RowTexts texts(table, batch, mNames);
  if (mFormat == Format::Table) {
    if (!rows.empty() || mShown.empty()) mShown.push_back(texts.shownTable(rows));
    mShownRows += rows.size();
    return;
  }
  // Blocks of rows formatted in parallel, written in order.
  const std::size_t blocks = std::max<std::size_t>(1, std::min<std::size_t>(rows.size() / 1024, 4 * mArena.max_concurrency()));
  // The buffers are kept from batch to batch: no new memory to fault in.
  std::vector<std::string>& text = mText;
  if (text.size() < blocks) text.resize(blocks);
  const auto format = [&](std::size_t b) {
    const std::size_t begin = rows.size() * b / blocks;
    const std::size_t end = rows.size() * (b + 1) / blocks;
    std::string& out = text[b];
    out.clear();
    out.reserve((end - begin) * std::max<std::size_t>(mBytesPerRow, 16 * mNames.size()));
    if (mFormat == Format::Csv) {
      texts.appendCsv(out, rows, begin, end);
    } else if (mNdjson) {
      texts.appendJson(out, rows, begin, end, "", "\n");
    } else {
      texts.appendJson(out, rows, begin, end, ",\n  ", "");
    }
  };
  if (blocks == 1) {
    format(0);
  } else {
    mArena.execute([&] { tbb::parallel_for(std::size_t{0}, blocks, format); });
  }
  std::size_t written = 0;
  for (std::size_t b = 0; b < blocks; ++b) {
    if (mFormat == Format::Json && !mNdjson && mRecords == 0 && !text[b].empty()) {
      text[b].erase(0, 1);  // the first record has no comma before it
    }
    if (!text[b].empty()) ++mRecords;
    std::cout.write(text[b].data(), static_cast<std::streamsize>(text[b].size()));
    written += text[b].size();
  }
  // Room for a little more than this batch needed, next time.
  if (!rows.empty()) mBytesPerRow = std::max(mBytesPerRow, written / rows.size() + written / rows.size() / 8 + 1);
}

void RowSink::finish() {
  if (mFormat == Format::Json && !mNdjson) {
    std::cout << (mRecords == 0 ? "]\n" : "\n]\n");
  } else if (mFormat == Format::Table) {
    unique_ovarray_ptr table;
    if (mShown.empty()) {
      table = emptyTable(toHost(mNames));
    } else if (mShown.size() == 1) {
      table = std::move(mShown.front());
    } else {
      std::vector<RowPick> pieces;
      for (const auto& t : mShown) pieces.push_back({t.get(), rowRange(0, ovTableNumRows(t.get()))});
      table = gatherTable(pieces, rowRange(0, mNames.size()));
    }
    writeTable(std::cout, table.get());
    if (mMore > 0) {
      std::cout << "... (" << mMore << " more " << (mMore == 1 ? "row" : "rows") << ")\n";
    } else if (mShownRows == 0) {
      std::cout << "(no rows)\n";
    }
  }
  std::cout.flush();
}

}  // namespace ovparquet::cli
