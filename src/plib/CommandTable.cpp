// The rows of the command tree: name, length of the short form (-1: only the whole word matches), id of the parent row
// one level up, own id (-1: no children), whether the node may be left out, instance limit, handler, forms and
// parameter. A row without a handler is a node on the way only.
#include "src/plib/CommandTable.h"

#include <iterator>

#include "scpi_core/pcore.h"
#include "src/plib/Descriptors.h"
#include "src/plib/Handlers.h"

namespace scpi_lib {

// clang-format off
const sCommandTreeNode Level0[13] = {
    {"system",    4, 0,  0, false, 1, nullptr,           {kBothForms, nullptr, 0}},
    {"trigger",   4, 0,  1, false, 1, SCPI_TRIG_SEQ_IMM, {kSetForm, nullptr, 0}},
    {"unit",     -1, 0,  2, false, 1, nullptr,           {kBothForms, nullptr, 0}},
    {"source",    4, 0,  3, true,  1, nullptr,           {kBothForms, nullptr, 0}},
    {"initiate",  4, 0,  4, false, 1, SCPI_INIT_IMM_ALL, {kSetForm, nullptr, 0}},
    {"abort",     4, 0,  5, false, 1, SCPI_ABOR,         {kSetForm, nullptr, 0}},
    {"output",    4, 0,  6, false, 1, SCPI_OUTP_STAT,    {kBothForms, &OneBoolean, 1}},
    {"idn",      -1, 0, -1, false, 1, SCPI_IDN,          {kQueryForm, nullptr, 0}},
    {"stb",      -1, 0, -1, false, 1, SCPI_STB,          {kQueryForm, nullptr, 0}},
    {"esr",      -1, 0, -1, false, 1, SCPI_ESR,          {kQueryForm, nullptr, 0}},
    {"rst",      -1, 0, -1, false, 1, SCPI_RST,          {kSetForm, nullptr, 0}},
    {"cls",      -1, 0, -1, false, 1, SCPI_CLS,          {kSetForm, nullptr, 0}},
    {"opc",      -1, 0, -1, false, 1, SCPI_OPC,          {kQueryForm, nullptr, 0}},
};

const sCommandTreeNode Level1[15] = {
    {"error",        3, 0,  0, false, 1, SCPI_SYST_ERR,           {kQueryForm, nullptr, 0}},
    {"version",      4, 0,  1, false, 1, SCPI_SYST_VERS,          {kQueryForm, nullptr, 0}},
    {"sequence",     3, 1,  2, true,  1, SCPI_TRIG_SEQ_IMM,       {kSetForm, nullptr, 0}},
    {"power",        3, 2,  3, false, 1, SCPI_UNIT_POW,           {kBothForms, &UnitParams, 1}},
    {"frequency",    4, 3,  4, false, 1, SCPI_SOUR_FREQ,          {kBothForms, &FreqParams, 1}},
    {"power",        3, 3,  5, false, 1, SCPI_SOUR_POW_LEV,       {kBothForms, &PowerLevelParams, 1}},
    {"sweep",        3, 3,  6, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"roscillator",  4, 3,  7, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"list",        -1, 3,  8, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"modulation",   3, 3,  9, true,  1, nullptr,                 {kBothForms, nullptr, 0}},
    {"continuous",   4, 4, 11, false, 1, SCPI_INIT_CONT_ALL,      {kBothForms, &OneBoolean, 1}},
    {"state",        4, 6, 12, true,  1, SCPI_OUTP_STAT,          {kBothForms, &OneBoolean, 1}},
    {"immediate",    3, 4, 13, true,  1, SCPI_INIT_IMM_ALL,       {kSetForm, nullptr, 0}},
    {"auxiliary",    3, 1, 14, false, 1, SCPI_TRIG_AUX_OUTP_ENAB, {kBothForms, &OneBoolean, 1}},
    {"phase",        4, 3, 15, false, 1, SCPI_SOUR_PHAS,          {kBothForms, &DegreeParams, 1}},
};

const sCommandTreeNode Level2[42] = {
    {"immediate",    3,  2,  0, true,  1, SCPI_TRIG_SEQ_IMM,       {kSetForm, nullptr, 0}},
    {"source",       4,  2,  1, false, 1, SCPI_TRIG_SEQ_SOUR,      {kBothForms, &TrigSourceParams, 1}},
    {"slope",        4,  2,  2, false, 1, SCPI_TRIG_SEQ_SLOP,      {kBothForms, &PosNegParams, 1}},
    {"cw",          -1,  4,  3, true,  1, SCPI_SOUR_FREQ,          {kBothForms, &FreqParams, 1}},
    {"fixed",        3,  4,  4, true,  1, SCPI_SOUR_FREQ,          {kBothForms, &FreqParams, 1}},
    {"mode",        -1,  4,  5, false, 1, SCPI_SOUR_FREQ_MODE,     {kBothForms, &FreqModeParams, 1}},
    {"start",        4,  4,  6, false, 1, SCPI_SOUR_FREQ_STAR,     {kBothForms, &FreqParams, 1}},
    {"stop",        -1,  4,  7, false, 1, SCPI_SOUR_FREQ_STOP,     {kBothForms, &FreqParams, 1}},
    {"center",       4,  4,  8, false, 1, SCPI_SOUR_FREQ_CENT,     {kBothForms, &FreqParams, 1}},
    {"span",        -1,  4,  9, false, 1, SCPI_SOUR_FREQ_SPAN,     {kBothForms, &FreqParams, 1}},
    {"alc",         -1,  5, 10, false, 1, SCPI_SOUR_POW_ALC,       {kBothForms, &ALCStateParams, 1}},
    {"level",        3,  5, 11, true,  1, SCPI_SOUR_POW_LEV,       {kBothForms, &PowerLevelParams, 1}},
    {"attenuation",  3,  5, 12, false, 1, SCPI_SOUR_POW_ATT,       {kBothForms, &AttenuationParams, 1}},
    {"mode",        -1,  5, 13, false, 1, SCPI_SOUR_POW_MODE,      {kBothForms, &PowerModeParams, 1}},
    {"start",        4,  5, 14, false, 1, SCPI_SOUR_POW_STAR,      {kBothForms, &PowerLevelParams, 1}},
    {"stop",        -1,  5, 15, false, 1, SCPI_SOUR_POW_STOP,      {kBothForms, &PowerLevelParams, 1}},
    {"center",       4,  5, 16, false, 1, SCPI_SOUR_POW_CENT,      {kBothForms, &PowerLevelParams, 1}},
    {"span",        -1,  5, 17, false, 1, SCPI_SOUR_POW_SPAN,      {kBothForms, &PowerSpanParams, 1}},
    {"dwell",        4,  6, 18, false, 1, SCPI_SOUR_SWE_DWEL,      {kBothForms, &TimeParams, 1}},
    {"step",        -1,  6, 19, false, 1, SCPI_SOUR_SWE_STEP,      {kBothForms, &SweepStepParams, 1}},
    {"points",       4,  6, 20, false, 1, SCPI_SOUR_SWE_POIN,      {kBothForms, &SweepPointsParams, 1}},
    {"spacing",      4,  6, 21, false, 1, SCPI_SOUR_SWE_SPAC,      {kBothForms, &FreqSpacingParams, 1}},
    {"external",     3,  7, 22, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"source",       4,  7, 23, false, 1, SCPI_SOUR_ROSC_SOUR,     {kBothForms, &SourceParams, 1}},
    {"dwell",        4,  8, 24, false, 1, SCPI_SOUR_LIST_DWEL,     {kBothForms, &TimeParams, 1}},
    {"frequency",    4,  8, 25, false, 1, SCPI_SOUR_LIST_FREQ,     {kBothForms, &FreqListParams, 1}},
    {"power",        3,  8, 26, false, 1, SCPI_SOUR_LIST_POW,      {kBothForms, &PowerListParams, 1}},
    {"all",         -1, 11, 27, true,  1, SCPI_INIT_CONT_ALL,      {kBothForms, &OneBoolean, 1}},
    {"next",        -1,  0, 28, true,  1, SCPI_SYST_ERR,           {kQueryForm, nullptr, 0}},
    {"output",       4, 14, 29, true,  1, SCPI_TRIG_AUX_OUTP_ENAB, {kBothForms, &OneBoolean, 1}},
    {"interval",     3, 14, 30, false, 1, SCPI_TRIG_AUX_INT,       {kBothForms, &TrigIntParams, 1}},
    {"opolarity",    4, 14, 31, false, 1, SCPI_TRIG_AUX_OPOL,      {kBothForms, &PosNegParams, 1}},
    {"mode",        -1,  8, 32, false, 1, SCPI_SOUR_LIST_MODE,     {kBothForms, &ListModeParams, 1}},
    {"internal",     3,  9, 33, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"pulse",        4, 14, 34, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"duration",     3, 14, 35, false, 1, SCPI_TRIG_AUX_DUR,       {kBothForms, &TimeParams, 1}},
    {"all",         -1, 13, 36, true,  1, SCPI_INIT_IMM_ALL,       {kSetForm, nullptr, 0}},
    {"control",      4,  5, 37, false, 1, SCPI_SOUR_POW_CONT,      {kBothForms, &SourceParams, 1}},
    {"adjust",       3, 15, 38, true,  1, SCPI_SOUR_PHAS,          {kBothForms, &DegreeParams, 1}},
    {"pulm",        -1,  9, 39, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"am",          -1,  9, 40, false, 1, SCPI_SOUR_AM_DEPT,       {kSetForm, &AMDepthParams, 1}},
    {"count",        4,  0, 41, false, 1, SCPI_SYST_ERR_COUN,      {kQueryForm, nullptr, 0}},
};

const sCommandTreeNode Level3[21] = {
    {"state",      4, 10,  0, true,  1, SCPI_SOUR_POW_ALC,        {kBothForms, &ALCStateParams, 1}},
    {"immediate",  3, 11,  1, true,  1, SCPI_SOUR_POW_LEV,        {kBothForms, &PowerLevelParams, 1}},
    {"auto",      -1, 12,  2, false, 1, SCPI_SOUR_POW_ATT_AUTO,   {kBothForms, &OneBoolean, 1}},
    {"mode",      -1, 12,  3, false, 1, SCPI_SOUR_POW_ATT_MODE,   {kBothForms, &AttModeParams, 1}},
    {"frequency",  4, 22,  4, false, 1, SCPI_SOUR_ROSC_EXT_FREQ,  {kBothForms, &FreqParams, 1}},
    {"points",     4, 24,  5, false, 1, SCPI_SOUR_LIST_DWEL_POIN, {kQueryForm, &OneNumeric, 1}},
    {"points",     4, 25,  6, false, 1, SCPI_SOUR_LIST_FREQ_POIN, {kQueryForm, &OneNumeric, 1}},
    {"points",     4, 26,  7, false, 1, SCPI_SOUR_LIST_POW_POIN,  {kQueryForm, &OneNumeric, 1}},
    {"enable",     4, 29,  8, true,  1, SCPI_TRIG_AUX_OUTP_ENAB,  {kBothForms, &OneBoolean, 1}},
    {"period",     3, 34,  9, false, 1, SCPI_TRIG_AUX_PULS_PER,   {kBothForms, &TimeParams, 1}},
    {"width",      4, 34, 10, false, 1, SCPI_TRIG_AUX_PULS_WIDT,  {kBothForms, &TimeParams, 1}},
    {"internal",   3, 39, 11, false, 1, nullptr,                  {kBothForms, nullptr, 0}},
    {"polarity",   3, 39, 12, false, 1, SCPI_SOUR_PULM_POL,       {kBothForms, &PMPolarityParams, 1}},
    {"state",      4, 39, 13, false, 1, SCPI_SOUR_PULM_STAT,      {kBothForms, &OneBoolean, 1}},
    {"depth",      4, 40, 14, true,  1, SCPI_SOUR_AM_DEPT,        {kSetForm, &AMDepthParams, 1}},
    {"external",   3, 40, 15, false, 1, nullptr,                  {kBothForms, nullptr, 0}},
    {"internal",   3, 40, 16, false, 1, nullptr,                  {kBothForms, nullptr, 0}},
    {"source",     4, 40, 17, false, 1, SCPI_SOUR_AM_SOUR,        {kBothForms, &SourceParams, 1}},
    {"state",      4, 40, 18, false, 1, SCPI_SOUR_AM_STAT,        {kBothForms, &OneBoolean, 1}},
    {"source",     4, 39, 19, false, 1, SCPI_SOUR_PULM_SOUR,      {kBothForms, &SourceParams, 1}},
    {"mode",      -1, 39, 20, false, 1, SCPI_SOUR_PULM_MODE,      {kBothForms, &PMModeParams, 1}},
};

const sCommandTreeNode Level4[7] = {
    {"amplitude", 4,  1, 0, true,  1, SCPI_SOUR_POW_LEV,       {kBothForms, &PowerLevelParams, 1}},
    {"train",     3, 11, 1, false, 1, nullptr,                 {kBothForms, nullptr, 0}},
    {"period",    3, 11, 2, false, 1, SCPI_SOUR_PULM_INT_PER,  {kBothForms, &TimeParams, 1}},
    {"pwidth",    4, 11, 3, false, 1, SCPI_SOUR_PULM_INT_PWID, {kBothForms, &TimeParams, 1}},
    {"coupling",  4, 15, 4, false, 1, SCPI_SOUR_AM_EXT_COUP,   {kBothForms, &AMCouplingParams, 1}},
    {"frequency", 4, 16, 5, false, 1, SCPI_SOUR_AM_INT_FREQ,   {kBothForms, &FreqParams, 1}},
    {"internal",  3, 19, 6, false, 1, SCPI_SOUR_PULM_SOUR_INT, {kBothForms, &PMTypesParams, 1}},
};

const sCommandTreeNode Level5[3] = {
    {"offtime",    4, 1, 0, false, 1, SCPI_SOUR_PULM_INT_TRA_OFFT, {kBothForms, &PMListTimeParams, 1}},
    {"ontime",     3, 1, 1, false, 1, SCPI_SOUR_PULM_INT_TRA_ONT,  {kBothForms, &PMListTimeParams, 1}},
    {"repetition", 3, 1, 2, false, 1, SCPI_SOUR_PULM_INT_TRA_REP,  {kBothForms, &PMListParams, 1}},
};
// clang-format on

void RegisterCommandTree() {
  AddTreeLevel(0, Level0, std::size(Level0));
  AddTreeLevel(1, Level1, std::size(Level1));
  AddTreeLevel(2, Level2, std::size(Level2));
  AddTreeLevel(3, Level3, std::size(Level3));
  AddTreeLevel(4, Level4, std::size(Level4));
  AddTreeLevel(5, Level5, std::size(Level5));
}

}  // namespace scpi_lib
