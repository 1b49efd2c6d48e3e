#pragma once
// Who asks for an access process: an identity with a fresh random id.
#include <cstdint>
#include <string>

namespace quorl {

class TaClient {
public:
    // Told of a change by the process side; returns whether it was taken.
    virtual bool notify(uint32_t first, uint32_t second, uint32_t third) = 0;
    virtual std::string getId() { return id; }
    virtual std::string& getName() { return name; }
    virtual ~TaClient() = default;

protected:
    std::string id;
    std::string name;
};

// The client of the configuration run. It keeps what it is told and nothing
// reads it back: it exists for the manager's signature.
class TargetConfig_TaProcessClient : public TaClient {
public:
    TargetConfig_TaProcessClient();
    bool notify(uint32_t first, uint32_t second, uint32_t third) override;

    uint32_t getFirst() const { return first; }
    uint32_t getSecond() const { return second; }
    uint32_t getThird() const { return third; }

private:
    uint32_t first = 0;
    uint32_t second = 0;
    uint32_t third = 0;
};

}  // namespace quorl
