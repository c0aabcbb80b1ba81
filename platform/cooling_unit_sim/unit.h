// The unit's register, kept in a file; logs every change with its time on standard output.
#pragma once

#include <cstdint>
#include <string>

namespace sim {

// "0 (imperial)", "1 (metric)", "7"
std::string describeScale(std::uint16_t scale);

class Unit {
public:
    // Reads the register from the file, or creates the file with a metric scale. An empty name
    // keeps the register in memory only. Throws std::runtime_error for a file that cannot be read,
    // written or parsed.
    explicit Unit(std::string stateFile);

    std::uint16_t scale() const { return scale_; }

    // Returns once the file holds the value. A reader finds the old or the new one, whole, even
    // after a power cut.
    //   by  who changed it, for the log
    // Throws std::system_error if the file cannot be written; the register keeps its value.
    void setScale(std::uint16_t scale, const std::string& by);

private:
    void load();
    void store(std::uint16_t scale) const;

    std::string stateFile_;
    std::uint16_t scale_;
};

} // namespace sim
