// The command handlers, named after their headers. A handler turns parsed parameters into one or two calls of CDevice
// and a result into reply text; what an instrument is lies in CDevice alone. It returns 0 or the number for the error
// queue, writes no line end and no separator, and never lets an exception out, save the nine that say so.
#pragma once

#include <vector>

#include "scpi_core/types.h"

namespace scpi_lib {

// Common and system commands (HandlersCommon.cpp).
int SCPI_IDN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_OPC(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_CLS(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SYST_VERS(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_STB(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_ESR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SYST_ERR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SYST_ERR_COUN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_RST(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_ABOR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

// Frequency, sweep, reference and phase (HandlersFrequency.cpp).
int SCPI_SOUR_FREQ(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_FREQ_STAR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_FREQ_STOP(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_FREQ_CENT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_FREQ_SPAN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_FREQ_MODE(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_SWE_DWEL(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_SWE_STEP(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_SWE_POIN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_SWE_SPAC(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_ROSC_EXT_FREQ(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_ROSC_SOUR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PHAS(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

// Power (HandlersPower.cpp).
int SCPI_SOUR_POW_LEV(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_STAR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_STOP(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_CENT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_SPAN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_MODE(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_ALC(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_ATT_AUTO(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_ATT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_ATT_MODE(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_POW_CONT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_UNIT_POW(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

// Lists (HandlersList.cpp).
int SCPI_SOUR_LIST_FREQ(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_LIST_POW(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_LIST_FREQ_POIN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_LIST_POW_POIN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_LIST_DWEL_POIN(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_LIST_DWEL(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_LIST_MODE(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

// Pulse modulation, and the stubs of amplitude modulation (HandlersPulse.cpp).
int SCPI_SOUR_PULM_STAT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_POL(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_SOUR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_SOUR_INT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_MODE(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_INT_PER(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_INT_PWID(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_INT_TRA_OFFT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_INT_TRA_ONT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_PULM_INT_TRA_REP(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_AM_DEPT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_AM_EXT_COUP(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_AM_INT_FREQ(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_AM_SOUR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_SOUR_AM_STAT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

// Trigger, initiate and output (HandlersTrigger.cpp).
int SCPI_TRIG_SEQ_SOUR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_SEQ_SLOP(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_AUX_INT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_AUX_OPOL(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_AUX_PULS_PER(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_AUX_PULS_WIDT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_AUX_DUR(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_AUX_OUTP_ENAB(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_OUTP_STAT(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_INIT_CONT_ALL(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_INIT_IMM_ALL(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);
int SCPI_TRIG_SEQ_IMM(std::vector<sParamInfo> parameters, bool query, void* device, sComErrorInfo* error);

}  // namespace scpi_lib
