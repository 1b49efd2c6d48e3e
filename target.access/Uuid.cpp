#include "target.access/Uuid.h"

#include <boost/thread/mutex.hpp>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <sstream>

namespace quorl {

std::string generateUuid() {
    static boost::mutex lock;
    boost::mutex::scoped_lock guard(lock);
    static boost::uuids::random_generator generator;  // created on first use
    std::ostringstream text;
    text << generator();
    return text.str();
}

}  // namespace quorl
