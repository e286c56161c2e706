#include "conversion.h"

#include "vrel_cfg.h"

#include <orvane/tables.h>

#include <climits>
#include <cmath>

namespace {

double evaluate(const TablePoly &poly, double raw)
{
    double result = 0.0;
    const int count = poly.num_coeff < 0 ? 0 : (poly.num_coeff > kMaxCoeffs ? kMaxCoeffs : poly.num_coeff);
    for (int i = count - 1; i >= 0; --i)
        result = result * raw + poly.coeff[i];
    return result;
}

} // namespace

double raw_to_engineering(int16_t tbl_type, short *error, const VREL_CFG *record, double raw)
{
    switch (tbl_type) {
    case TBL_INTERPOLATION:
        return linear_interp_long(error, &record->long_table, 0, raw);
    case TBL_POLYNOMIAL:
        return evaluate(record->table_info.dim.table_poly[0], raw);
    case TBL_SCALED:
        return raw * record->long_table.x[0];
    case TBL_POLYNOMIAL_RANGE: {
        int range = record->table_info.range_index;
        if (range < 0 || range >= kMaxRanges)
            range = 0; // the host may leave -1 here
        return evaluate(record->table_info.dim.table_poly[range], raw);
    }
    default:
        return 0.0;
    }
}

int64_t dead_band_key(double value)
{
    const double scaled = std::trunc(1000.0 * value);
    if (!(scaled > -9.0e18 && scaled < 9.0e18))
        return INT64_MIN;
    return static_cast<int64_t>(scaled);
}
