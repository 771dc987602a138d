// Dotted paths to fields of records: "--vars pt.x" prints field x of the
// record variable pt. A name that is a top-level variable is always that
// variable, dots or not.
#pragma once

#include <arrow/record_batch.h>
#include <arrow/type_fwd.h>

#include <memory>
#include <string>
#include <vector>

namespace ovparquet::cli {

struct FieldPath {
  std::string text;                  // as given: "pt.x"
  std::string variable;              // the top-level variable: "pt"
  std::vector<std::string> fields;   // inside it: {"x"}; empty for the variable itself
  std::shared_ptr<::arrow::DataType> type;  // of the field (set by resolveFieldPaths)
};

// Resolves each name against the file's Arrow schema. A name that is neither
// a variable nor a path through records raises "UnknownVariable" (the file's
// variables listed), like any unknown name.
std::vector<FieldPath> resolveFieldPaths(const std::vector<std::string>& names, const ::arrow::Schema& schema,
                                         const std::string& file);

// Whether any path reaches inside a record.
bool reachesInside(const std::vector<FieldPath>& paths);

// A batch of the paths' values, named by their texts, from a batch holding
// (at least) their top-level variables, followed by those of `extra` (the
// filter's variables and fields). A field of a missing record is missing.
std::shared_ptr<::arrow::RecordBatch> projectBatch(const std::shared_ptr<::arrow::RecordBatch>& batch,
                                                   const std::vector<FieldPath>& paths,
                                                   const std::vector<FieldPath>& extra);

}  // namespace ovparquet::cli
