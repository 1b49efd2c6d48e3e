#pragma once
// The options every subcommand that makes a plan takes: -d/--disable and
// --image IMAGE.
#include "rq7/Plan.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/variables_map.hpp>

namespace rq7 {

void addPlanOptions(boost::program_options::options_description& options);

// The options as given; a memory image is read into `image`, which must
// outlive the result. Throws LoadError for an image that cannot be read.
PlanOptions planOptionsOf(const boost::program_options::variables_map& values, gtasim::MemoryImage& image);

}  // namespace rq7
