// What a parameter of a command may be: units with their multipliers, mnemonics with their short forms, and the
// descriptors that bind them. A mnemonic reaches its handler as its row number here, so the order of rows is interface.
#pragma once

#include "scpi_core/types.h"

namespace scpi_lib {

extern const sMnemonicRow Booleans[4];
extern const sMnemonicRow PowerUnits[2];

extern const sFParam OneBoolean;
extern const sFParam ALCStateParams;
extern const sFParam OneNumeric;
extern const sFParam FreqParams;
extern const sFParam PowerLevelParams;
extern const sFParam PowerSpanParams;
extern const sFParam AttenuationParams;
extern const sFParam TimeParams;
extern const sFParam SweepStepParams;
extern const sFParam SweepPointsParams;
extern const sFParam DegreeParams;
extern const sFParam AMDepthParams;
extern const sFParam FreqListParams;
extern const sFParam PowerListParams;
extern const sFParam PMListTimeParams;
extern const sFParam PMListParams;
extern const sFParam UnitParams;
extern const sFParam FreqModeParams;
extern const sFParam PowerModeParams;
extern const sFParam FreqSpacingParams;
extern const sFParam AttModeParams;
extern const sFParam ListModeParams;
extern const sFParam SourceParams;
extern const sFParam TrigSourceParams;
extern const sFParam PosNegParams;
extern const sFParam TrigIntParams;
extern const sFParam PMTypesParams;
extern const sFParam PMModeParams;
extern const sFParam PMPolarityParams;
extern const sFParam AMCouplingParams;

// Call infos of the handlers that answer with a mnemonic: the first argument of CDevice::SendEnum.
extern const sFunctionCallInfo SCPI_SOUR_FREQ_MODE_F;
extern const sFunctionCallInfo SCPI_SOUR_SWE_SPAC_F;
extern const sFunctionCallInfo SCPI_OUTP_STAT_F;
extern const sFunctionCallInfo SCPI_SOUR_POW_MODE_F;
extern const sFunctionCallInfo SCPI_SOUR_POW_ATT_MODE_F;
extern const sFunctionCallInfo SCPI_SOUR_POW_CONT_F;
extern const sFunctionCallInfo SCPI_SOUR_ROSC_SOUR_F;
extern const sFunctionCallInfo SCPI_TRIG_SEQ_SOUR_F;
extern const sFunctionCallInfo SCPI_TRIG_SEQ_SLOP_F;
extern const sFunctionCallInfo SCPI_TRIG_AUX_INT_F;
extern const sFunctionCallInfo SCPI_TRIG_AUX_OPOL_F;
extern const sFunctionCallInfo SCPI_SOUR_LIST_MODE_F;
extern const sFunctionCallInfo SCPI_SOUR_PULM_POL_F;
extern const sFunctionCallInfo SCPI_SOUR_PULM_SOUR_F;
extern const sFunctionCallInfo SCPI_SOUR_PULM_SOUR_INT_F;

}  // namespace scpi_lib
