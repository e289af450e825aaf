// Start-up, shut-down and version of the library; its error codes and measured constants.
#include <sarvo/array.h>
#include <sarvo/sarvo.h>

#include "elementary.h"
#include "environment.h"

extern "C" {

uint32_t SarvoInitialized = 0;

uint32_t SarvoDtypeEC = 0, SarvoDomainEC = 0, SarvoRoundEC = 0, SarvoUnderflowEC = 0, SarvoOverflowEC = 0;
uint32_t SarvoNullEC = 0, SarvoSizeEC = 0, SarvoBoundsEC = 0, SarvoInsituEC = 0;
uint32_t SarvoMHSingEC = 0, SarvoMHNullEC = 0, SarvoMHRangeEC = 0, SarvoMHBoundsEC = 0, SarvoMHSizesEC = 0;
uint32_t SarvoMHInsituEC = 0, SarvoMHSquareEC = 0, SarvoMHPosdefEC = 0, SarvoMHNegEC = 0, SarvoMHMemEC = 0;
uint32_t SarvoMHIdxEC = 0;
uint32_t SarvoNrInitEC = 0, SarvoNrIterEC = 0, SarvoNrSizeEC = 0, SarvoNrEmptyEC = 0, SarvoNrSvdNotReadyEC = 0;
uint32_t SarvoNrStepEC = 0;
uint32_t SarvoLsqInitEC = 0, SarvoLsqInvalidSetupEC = 0, SarvoSMInvalidNumEC = 0, SarvoRngInvalidMethodEC = 0;

int32_t SarvoDblIbeta, SarvoDblIt, SarvoDblIrnd, SarvoDblNgrd, SarvoDblMachep, SarvoDblNegep, SarvoDblIexp;
int32_t SarvoDblMinexp, SarvoDblMaxexp;
double SarvoDblEps, SarvoDblEpsneg, SarvoDblXmin, SarvoDblXmax;
double SarvoDblLnXmin, SarvoDblLnXmax, SarvoDblSqrtXmin, SarvoDblSqrtXmax;

int32_t SarvoFltIbeta, SarvoFltIt, SarvoFltIrnd, SarvoFltNgrd, SarvoFltMachep, SarvoFltNegep, SarvoFltIexp;
int32_t SarvoFltMinexp, SarvoFltMaxexp;
float SarvoFltEps, SarvoFltEpsneg, SarvoFltXmin, SarvoFltXmax;
float SarvoFltLnXmin, SarvoFltLnXmax, SarvoFltSqrtXmin, SarvoFltSqrtXmax;

uint64_t SarvoDtype[SARVO_DTYPES];

} // extern "C"

namespace {

struct Registration {
    uint32_t *code;
    const char *message;
};

// The order is part of the interface: it fixes the codes' values.
constexpr Registration registrations[] = {
    {&SarvoDtypeEC, "Data type error"},
    {&SarvoDomainEC, "Domain error"},
    {&SarvoRoundEC, "Roundoff error"},
    {&SarvoUnderflowEC, "Underflow error"},
    {&SarvoOverflowEC, "Overflow error"},
    {&SarvoNullEC, "Input structure is not initialized"},
    {&SarvoSizeEC, "Incorrect size"},
    {&SarvoBoundsEC, "Index out of bounds"},
    {&SarvoInsituEC, "In situ error"},
    {&SarvoMHSingEC, "Singular matrix"},
    {&SarvoMHNullEC, "Input structure(s) is(are) not initialized"},
    {&SarvoMHRangeEC, "Object out of range"},
    {&SarvoMHBoundsEC, "Index out of bounds"},
    {&SarvoMHSizesEC, "Wrong size(s) of object(s)"},
    {&SarvoMHInsituEC, "Can't do operation in situ"},
    {&SarvoMHSquareEC, "Matrix is not square"},
    {&SarvoMHPosdefEC, "Matrix not positive definite"},
    {&SarvoMHNegEC, "Negative argument"},
    {&SarvoMHMemEC, "Cannot allocate memory"},
    {&SarvoMHIdxEC, "Error in index/matrix"},
    {&SarvoNrInitEC, "Object is not initialized"},
    {&SarvoNrIterEC, "Too many iterations"},
    {&SarvoNrSizeEC, "Incorrect size"},
    {&SarvoNrEmptyEC, "Empty space"},
    {&SarvoNrSvdNotReadyEC, "SVD has not yet been done"},
    {&SarvoNrStepEC, "Invalid step size"},
    {&SarvoLsqInitEC, "Initialization error in LS"},
    {&SarvoLsqInvalidSetupEC, "Invalid setup of LS"},
    {&SarvoSMInvalidNumEC, "Invalid number"},
    {&SarvoRngInvalidMethodEC, "Invalid method"},
};

// Element sizes of data-type ids 1..24; entry 0 marks the absence of a type.
constexpr uint64_t dtype_sizes[SARVO_DTYPES] = {0, 1, 1, 2, 2, 4, 4, 8, 8,  8, 8,  1, 1,
                                                2, 2, 4, 4, 8, 8, 4, 8, 16, 8, 16, 32};

// The constants are those of the arithmetic that results are promised for, whatever the caller has set.
void measure_constants() {
    const sarvo::DefaultEnvironment environment;
    sarvo_nr_machar_double(&SarvoDblIbeta, &SarvoDblIt, &SarvoDblIrnd, &SarvoDblNgrd, &SarvoDblMachep, &SarvoDblNegep,
                           &SarvoDblIexp, &SarvoDblMinexp, &SarvoDblMaxexp, &SarvoDblEps, &SarvoDblEpsneg,
                           &SarvoDblXmin, &SarvoDblXmax);
    SarvoDblLnXmin = sarvo::elementary::log(SarvoDblXmin);
    SarvoDblLnXmax = sarvo::elementary::log(SarvoDblXmax);
    SarvoDblSqrtXmin = __builtin_sqrt(SarvoDblXmin);
    SarvoDblSqrtXmax = __builtin_sqrt(SarvoDblXmax);

    sarvo_nr_machar_float(&SarvoFltIbeta, &SarvoFltIt, &SarvoFltIrnd, &SarvoFltNgrd, &SarvoFltMachep, &SarvoFltNegep,
                          &SarvoFltIexp, &SarvoFltMinexp, &SarvoFltMaxexp, &SarvoFltEps, &SarvoFltEpsneg, &SarvoFltXmin,
                          &SarvoFltXmax);
    SarvoFltLnXmin = static_cast<float>(sarvo::elementary::log(static_cast<double>(SarvoFltXmin)));
    SarvoFltLnXmax = static_cast<float>(sarvo::elementary::log(static_cast<double>(SarvoFltXmax)));
    SarvoFltSqrtXmin = __builtin_sqrtf(SarvoFltXmin);
    SarvoFltSqrtXmax = __builtin_sqrtf(SarvoFltXmax);
}

} // namespace

extern "C" {

int32_t sarvo_initialize(void) {
    const uint32_t before = SarvoInitialized;
    SarvoInitialized = before + 1; // raised before any test: a failure is not retried
    if (before != 0) return 0;
    if (sarko_initialize() != 0) return 1;
    measure_constants();
    for (const Registration &r : registrations) {
        if (sarko_error_t e = sarko_error_register(r.code, r.message)) {
            sarko_error_clear(e);
            return 2;
        }
    }
    for (uint32_t id = 0; id < SARVO_DTYPES; id++) SarvoDtype[id] = dtype_sizes[id];
    return 0;
}

void sarvo_terminate(void) {
    const uint32_t before = SarvoInitialized;
    SarvoInitialized = before - 1;
    if (before == 1) sarko_terminate();
}

uint32_t sarvo_version_major(void) { return 1; }
uint32_t sarvo_version_minor(void) { return 0; }
uint32_t sarvo_version_patch(void) { return 0; }
const char *sarvo_version_string(void) { return "1.0.0"; }

} // extern "C"
