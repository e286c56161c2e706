// The fixed comment lines that open a history record, as the archive
// holds them: for the simulated cell's demo archives, and for the tests
// and benchmarks that write archives by hand.
#pragma once

// The line that starts every record, and the one after it.
constexpr char kArchiveRecordStart[] = "# The following comment lines describes the data in\n# the section below\n";

// The names of the fields, from the time stamp to the table's units.
constexpr char kArchiveFieldNames[] =
    "# current_time_t time_date cal_mode tol_state tbl_name\n# tbl_type tbl_tol tol_units\n"
    "# user_comment\n# no_adjust_bias[tol_units]  no_adjust_tol[tol_units]\n"
    "# oot_bias[tol_units] oot_tol[tol_units]\n# soot_bias[tol_units] soot_tol[tol_units]\n"
    "# y_intercept_bias[tol_units] y_intercept_tol[tol_units]\n"
    "# linearity_bias[tol_units] linearity_tol[tol_units]\n"
    "# hysteresis.bias[tol_units] hysteresis_tolerance[tol_units]\n"
    "# sensor_model sensor_sn sensor_range_units\n"
    "# sensor_range_lower_limit[sensor_range_units] sensor_range_upper_limit[sensor_range_units]\n"
    "# min_range[tbl_units] max_range[tbl_units]\n# technician cal_method x_units tbl_units\n";

// The names that close the block of a table that is not POLYNOMIAL_RANGE.
constexpr char kArchiveCoefficientNames[] = "# polynomial coefficents\n# mua_instance_name  tbl_desc\n";
