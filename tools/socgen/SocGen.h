#pragma once
// Generated configurations of a whole system-on-chip, for tests, benchmarks
// and users who want a large file: clusters of up to eight cores, each
// cluster behind its own funnel, the cluster funnels behind one SoC funnel,
// then an ETF in pass-through and a DDR trace buffer. Logger target access.
#include <string>

namespace socgen {

const unsigned CoresPerCluster = 8;

// The configuration text for `cores` cores (at least one), eight per
// cluster, the last cluster holding the rest.
std::string generatedSoc(unsigned cores);

}  // namespace socgen
