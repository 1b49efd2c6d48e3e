#pragma once
// Shared pieces of the configuration tree's tests: what the log channels
// print, a typed attribute lookup, and a block implementation other than the
// library's own.
#include "common/src/ConfigBlock.h"

#include <gtest/gtest.h>

#include <boost/pointer_cast.hpp>

#include <stdexcept>
#include <string>
#include <utility>

namespace rq7test {

// Runs f and returns what it printed on stdout, where the log channels write.
template <class F>
std::string logged(F f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

// The attribute at path as type T; a missing or differently typed one throws,
// which fails the test.
template <class T, class Holder>
boost::shared_ptr<T> typedAttribute(const Holder& holder, const std::string& path) {
    auto a = boost::dynamic_pointer_cast<T>(holder.getConfigAttribute(path));
    if (!a) throw std::runtime_error("no attribute of the expected type at " + path);
    return a;
}

// A block with the lists it is given, which may be null; lookups find nothing.
class StubBlock : public quorl::ConfigBlock {
public:
    StubBlock(std::string name, std::string qualified, quorl::ConfigAttributeVectorPtr attributes,
              quorl::ConfigBlockVectorPtr blocks)
        : name_(std::move(name)),
          qualified_(std::move(qualified)),
          attributes_(std::move(attributes)),
          blocks_(std::move(blocks)) {}
    quorl::ConfigBlockPtr clone() const override { return quorl::ConfigBlockPtr(); }
    std::string getName() const override { return name_; }
    std::string getQualifiedName() const override { return qualified_; }
    quorl::ConfigBlockPtr getConfigBlock(const std::string&) const override { return quorl::ConfigBlockPtr(); }
    quorl::ConfigBlockVectorPtr getConfigBlocks() const override { return blocks_; }
    quorl::ConfigAttributePtr getConfigAttribute(const std::string&) const override {
        return quorl::ConfigAttributePtr();
    }
    quorl::ConfigAttributeVectorPtr getConfigAttributes() const override { return attributes_; }
    void accept(quorl::ConfigBlockVisitor& v) override { v.visit(*this); }
    void accept(quorl::ConfigBlockVisitor& v) const override { v.visit(const_cast<StubBlock&>(*this)); }

private:
    std::string name_, qualified_;
    quorl::ConfigAttributeVectorPtr attributes_;
    quorl::ConfigBlockVectorPtr blocks_;
};

}  // namespace rq7test
