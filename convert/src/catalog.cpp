// The texts of the conversion library's messages (to_orvane.hpp).
#include <ovparquet/convert/to_orvane.hpp>
#include <ovparquet/host/message.hpp>

namespace orvane::io::arrow::core {
namespace {

const orvane::CatalogRegistration convertEntries{
    {"ORVANE:convert:InvalidUtf8InColumn",
     "Column '{1}' holds {2} values that are not valid UTF-8; invalid sequences were replaced by U+FFFD.", 2},
};

}  // namespace
}  // namespace orvane::io::arrow::core
