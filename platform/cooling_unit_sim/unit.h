// The unit's register: kept in a file, every change told on standard output with its time.
#pragma once

#include <cstdint>
#include <string>

namespace sim {

// "0 (imperial)", "1 (metric)", "7"
std::string describeScale(std::uint16_t scale);

class Unit {
public:
    // Takes the register from the file; metric, and the file is written, where there is
    // none. An empty name keeps the register in memory only.
    // Throws std::runtime_error for a file that cannot be read, written or understood.
    explicit Unit(std::string stateFile);

    std::uint16_t scale() const { return scale_; }

    // Returns once the file holds the value: a reader finds the old or the new one, whole,
    // also after a power cut.
    //   by  who did it, for the line
    // Throws std::system_error when the file cannot be written; the register is as before.
    void setScale(std::uint16_t scale, const std::string& by);

private:
    void load();
    void store(std::uint16_t scale) const;

    std::string stateFile_;
    std::uint16_t scale_;
};

} // namespace sim
