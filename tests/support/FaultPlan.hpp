// Test support: which I/O call of a run a fault-injecting handle spoils, and
// how, counted over every file opened under its scheme.
#pragma once

namespace ovtest {

enum class Fault { None, Fail, Short };

struct FaultPlan {
  Fault kind = Fault::None;
  long at = 0;  // 1-based; 0 never
  long calls = 0;
  bool injected = false;
};

}  // namespace ovtest
