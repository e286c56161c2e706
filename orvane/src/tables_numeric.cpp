// The numerics on tables: the long table, interpolation in it, and the
// polynomial fit and tabulation.  Polynomials are constant first:
// y = c0 + c1 x + c2 x^2 ...  Counts taken from a block are clamped to the
// block's arrays, so a corrupt count never leads past them.
#include "orvane/tables.h"

#include <gsl/gsl_errno.h>
#include <gsl/gsl_multifit.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

namespace
{

// A polynomial table without raw points is tabulated at this many points.
constexpr int kTabulatedPoints = 11;

using Point = std::pair<double, double>;

int clamped(int value, int most)
{
    return value < 0 ? 0 : (value > most ? most : value);
}

double evaluate(const double *coeff, int num_coeff, double x)
{
    double y = 0.0;
    for (int k = clamped(num_coeff, ORV_MAX_COEFFS) - 1; k >= 0; --k)
        y = y * x + coeff[k];
    return y;
}

// Ascending x, NaN last: a strict weak order even for NaN, which a plain
// '<' is not (the sort could then run past the range).
bool x_before(const Point &a, const Point &b)
{
    if (std::isnan(a.first))
        return false;
    if (std::isnan(b.first))
        return true;
    return a.first < b.first;
}

void clear_points(LongTable &table)
{
    std::fill(std::begin(table.x), std::end(table.x), 0.0);
    std::fill(std::begin(table.y), std::end(table.y), 0.0);
    std::fill(std::begin(table.slope), std::end(table.slope), 0.0);
    std::fill(std::begin(table.x_intercept), std::end(table.x_intercept), 0.0);
    std::fill(std::begin(table.y_intercept), std::end(table.y_intercept), 0.0);
    table.count = 0;
    table.host_count = 0;
}

// The line through points i and i + 1; a zero-width segment is flat.
void set_segment(LongTable &table, int i)
{
    const double dx = table.x[i + 1] - table.x[i];
    const double slope = dx != 0.0 ? (table.y[i + 1] - table.y[i]) / dx : 0.0;
    table.slope[i] = slope;
    table.y_intercept[i] = table.y[i] - table.x[i] * slope;
    table.x_intercept[i] = slope != 0.0 ? table.x[i] - table.y[i] / slope : 0.0;
}

// Stores the points sorted by x (equal x keep their order) with their
// segments.  The last entry repeats the segment before it; a single point
// is a flat line.
void set_points(LongTable &table, std::vector<Point> points)
{
    std::stable_sort(points.begin(), points.end(), x_before);
    const int n = clamped(static_cast<int>(points.size()), ORV_MAX_POINTS);
    for (int i = 0; i < n; ++i) {
        table.x[i] = points[i].first;
        table.y[i] = points[i].second;
    }
    for (int i = 0; i + 1 < n; ++i)
        set_segment(table, i);
    if (n >= 2) {
        table.slope[n - 1] = table.slope[n - 2];
        table.x_intercept[n - 1] = table.x_intercept[n - 2];
        table.y_intercept[n - 1] = table.y_intercept[n - 2];
    } else if (n == 1) {
        table.y_intercept[0] = table.y[0];
    }
    table.count = static_cast<int16_t>(n);
    table.host_count = static_cast<int16_t>(n);
}

std::vector<Point> raw_points(const RawData &raw)
{
    std::vector<Point> points;
    for (int i = 0; i < clamped(raw.count, ORV_MAX_POINTS); ++i)
        points.emplace_back(raw.x[i], raw.y[i]);
    return points;
}

// The polynomial of a range at its raw points, or where it has fewer than
// two, at evenly spaced points over its MIN..MAX (0..100 when that is empty).
void tabulate(const TablePoly &poly, LongTable &table)
{
    std::vector<Point> points;
    const int count = clamped(poly.raw_data.count, ORV_MAX_POINTS);
    if (count >= 2) {
        for (int i = 0; i < count; ++i)
            points.emplace_back(poly.raw_data.x[i],
                                evaluate(poly.coeff, poly.num_coeff, poly.raw_data.x[i]));
    } else {
        const bool span = poly.max > poly.min;
        const double low = span ? poly.min : 0.0, high = span ? poly.max : 100.0;
        for (int i = 0; i < kTabulatedPoints; ++i) {
            const double x =
                i + 1 == kTabulatedPoints ? high : low + (high - low) * i / (kTabulatedPoints - 1);
            points.emplace_back(x, evaluate(poly.coeff, poly.num_coeff, x));
        }
    }
    set_points(table, std::move(points));
}

// Fits with GSL's handler turned off: its default aborts the process on a
// singular or oversized problem, where a refusal is wanted.
class QuietGsl
{
  public:
    QuietGsl() : lock_(mutex()), previous_(gsl_set_error_handler_off()) {}
    ~QuietGsl() { gsl_set_error_handler(previous_); }
    QuietGsl(const QuietGsl &) = delete;
    QuietGsl &operator=(const QuietGsl &) = delete;

  private:
    static std::mutex &mutex()
    {
        static std::mutex m;
        return m;
    }
    std::lock_guard<std::mutex> lock_;
    gsl_error_handler_t *previous_;
};

// Least squares of p coefficients on x scaled to |x| <= 1, which keeps the
// powers of millivolt values in a range the solver handles well; the
// coefficients are scaled back.  False when GSL refuses.
bool fit(int n, int p, const double *x, const double *y, double *coeff)
{
    double scale = 0.0;
    for (int i = 0; i < n; ++i)
        scale = std::max(scale, std::fabs(x[i]));
    if (scale == 0.0)
        scale = 1.0;

    QuietGsl quiet;
    gsl_matrix *design = gsl_matrix_alloc(n, p);
    gsl_vector *values = gsl_vector_alloc(n);
    gsl_vector *solution = gsl_vector_alloc(p);
    gsl_matrix *covariance = gsl_matrix_alloc(p, p);
    gsl_multifit_linear_workspace *work = gsl_multifit_linear_alloc(n, p);
    bool ok = design && values && solution && covariance && work;
    if (ok) {
        for (int i = 0; i < n; ++i) {
            double power = 1.0;
            for (int k = 0; k < p; ++k, power *= x[i] / scale)
                gsl_matrix_set(design, i, k, power);
            gsl_vector_set(values, i, y[i]);
        }
        double chisq = 0.0;
        ok = gsl_multifit_linear(design, values, solution, covariance, &chisq, work) == GSL_SUCCESS;
    }
    if (ok) {
        double power = 1.0;
        for (int k = 0; k < p; ++k, power *= scale) {
            coeff[k] = gsl_vector_get(solution, k) / power;
            ok = ok && std::isfinite(coeff[k]);
        }
    }
    if (work)
        gsl_multifit_linear_free(work);
    if (covariance)
        gsl_matrix_free(covariance);
    if (solution)
        gsl_vector_free(solution);
    if (values)
        gsl_vector_free(values);
    if (design)
        gsl_matrix_free(design);
    return ok;
}

} // namespace

extern "C" void compute_long_table(const TableInfo *table, LongTable *long_table)
{
    if (!table || !long_table)
        return;
    clear_points(*long_table);
    const TablePoly &first = table->dim.table_poly[0];
    switch (table->tbl_type) {
    case ORV_INTERPOLATION:
        set_points(*long_table, raw_points(first.raw_data));
        break;
    case ORV_POLYNOMIAL:
    case ORV_HYPERBOLIC:
        tabulate(first, *long_table);
        break;
    case ORV_POLYNOMIAL_RANGE: {
        const int r =
            table->range_index >= 0 && table->range_index < ORV_MAX_RANGES ? table->range_index : 0;
        tabulate(table->dim.table_poly[r], *long_table);
        break;
    }
    case ORV_SCALED:
        long_table->x[0] = first.raw_data.x[0];
        break;
    default:
        break; // the 2D tables have no points of their own here
    }
}

extern "C" double linear_interp_long(short *error, const LongTable *long_table, int reserved,
                                     double x)
{
    (void)reserved;
    const int n = long_table ? clamped(long_table->count, ORV_MAX_POINTS) : 0;
    if (error)
        *error = n < 2 ? 1 : 0;
    if (n == 0)
        return 0.0;
    const double *xs = long_table->x;
    const double *ys = long_table->y;
    if (n == 1)
        return ys[0];
    // The segment whose left end is the last point at or below x; beyond
    // the ends the end segments go on.  At an x that two points share the
    // later point counts, so a step in the table reads its upper side.
    const int above = static_cast<int>(std::upper_bound(xs, xs + n, x) - xs);
    const int i = std::min(std::max(above - 1, 0), n - 2);
    const double dx = xs[i + 1] - xs[i];
    if (dx == 0.0)
        return x < xs[i] ? ys[i] : ys[i + 1];
    return ys[i] + (x - xs[i]) * (ys[i + 1] - ys[i]) / dx;
}

extern "C" void computepoints(const double *coeff, int num_coeff, int point_count, double *x_out,
                              double *y_out, double x_min, double x_max)
{
    if (point_count <= 0 || !x_out || !y_out)
        return;
    for (int i = 0; i < point_count; ++i) {
        double x = x_min;
        if (point_count > 1)
            x = i + 1 == point_count ? x_max : x_min + (x_max - x_min) * i / (point_count - 1);
        x_out[i] = x;
        y_out[i] = coeff ? evaluate(coeff, num_coeff, x) : 0.0;
    }
}

extern "C" int polynomialfit(int n, int num_coeff, const double *x, const double *y,
                             double *coeff_out)
{
    if (!coeff_out)
        return -1;
    std::fill(coeff_out, coeff_out + clamped(num_coeff, ORV_MAX_POINTS), 0.0);
    if (n < 1 || num_coeff < 1 || num_coeff > ORV_MAX_COEFFS || !x || !y)
        return -1;
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(x[i]) || !std::isfinite(y[i]))
            return -1;
    // Fewer points than coefficients: the polynomial of degree n - 1 through
    // them, the higher coefficients zero.
    const int p = std::min(n, num_coeff);
    double fitted[ORV_MAX_COEFFS] = {};
    if (!fit(n, p, x, y, fitted))
        return -1;
    std::copy(fitted, fitted + p, coeff_out);
    return 0;
}
