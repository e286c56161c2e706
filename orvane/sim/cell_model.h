// The simulated test cell as data: its channels, their sensors and tables,
// its host variables.  Nothing here touches shared memory or files.
//
// A channel's table says how the host turns the sensor's millivolts into
// engineering units: eng = c0 + c1 mv + c2 mv^2 ...  The simulated sensor
// itself has drifted from that table: when a physical value p is applied,
// it outputs the millivolts at which the table reads p + error(p), where
//   error(p) = span * (zero_pct + drift_pct * (p - lower) / span) / 100,
// plus Gaussian noise of noise_pct % of the millivolt span.
#pragma once

#include "ini.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace orvsim {

struct ChannelSpec {
    int number = 0;
    std::string name;
    std::string units;
    std::string table;                // table name; empty: no table
    std::string type = "INTERPOLATION"; // INTERPOLATION, POLYNOMIAL, POLYNOMIAL_RANGE, SCALED
    int active = 1;                   // the AI_REAL active word
    std::vector<double> coefficients{0.0, 1.0}; // eng of mv, constant first
    double mv_lower = 0.0, mv_upper = 10.0;     // the sensor's output range
    int points = 11;                  // points of a demo interpolation table
    double drift_pct = 0.0;           // error at the top of the span, % of span
    double zero_pct = 0.0;            // error at the bottom of the span, % of span
    double applied = 0.0;             // physical value applied at start
    std::string sensor_model = "SIM-100";
    std::string sensor_sn;

    double eng_of_mv(double mv) const; // the table's reading
    double eng_lower() const { return eng_of_mv(mv_lower); }
    double eng_upper() const { return eng_of_mv(mv_upper); }
    double span() const;
    double error_at(double physical) const; // the drift, engineering units
    // The sensor's millivolts for a physical value, without noise.
    double mv_for(double physical) const;
};

struct VariableSpec {
    std::string name;
    std::string units;
    double mean = 0.0;
    double amplitude = 0.0; // slow sinusoidal variation
    double period_s = 600.0;
    double value_at(double seconds) const;
};

struct CellSpec {
    std::string cell_name = "TC-07";
    std::string site_name = "NRTC";
    int tick_ms = 50;
    double noise_pct = 0.01;
    uint64_t seed = 1;
    std::vector<ChannelSpec> channels;  // by ascending number
    std::vector<VariableSpec> variables;

    int channel_count() const; // highest number + 1
    const ChannelSpec *channel(int number) const;
};

// The cell a demo or a test gets without a description file: 16 channels,
// a few inactive, most within 0.25 % of span, some out of adjustment, one
// out of tolerance; one table of each type.
CellSpec default_cell();

// Reads a description.  Sections: [cell] (name, site, tick_ms, noise_pct,
// seed), [channel N] (the fields of ChannelSpec; lists comma-separated),
// [variable NAME] (units, mean, amplitude, period_s).  A description
// without [variable] sections gets the three room variables of the default
// cell.  On failure error holds the line and the reason.
bool cell_from_ini(const IniDocument &doc, CellSpec &cell, IniError &error);

// Gaussian noise source, seeded for repeatable runs.
class Noise {
public:
    explicit Noise(uint64_t seed) : engine_(seed) {}
    double gaussian(double sigma)
    {
        return sigma > 0.0 ? std::normal_distribution<double>(0.0, sigma)(engine_) : 0.0;
    }

private:
    std::mt19937_64 engine_;
};

} // namespace orvsim
