#include "src/plib/CommandSentences.h"

#include "src/plib/Handlers.h"

namespace scpi_lib {
namespace {

constexpr const char* kFrequencyRange = "the instrument's frequency limits, which a query with MIN or MAX answers";
constexpr const char* kPowerRange = "the instrument's power limits, always dBm; a query with MIN or MAX answers them";
constexpr const char* kKeywordSeconds = "not checked; MIN, MAX and DEF count as 0, 1 and 2 s";
constexpr const char* kQueryOnly = "query";
constexpr const char* kSetOnly = "set";
constexpr const char* kNoForm = "none (-113)";
constexpr const char* kStub = "Known header without a function: its parameter is checked, then the error is -113.";

const SCommandSentence kSentences[] = {
    {SCPI_IDN,
     "Maker, model and serial number, from two files of the instrument; a zero byte comes before the line end.", "", "",
     "*IDN?"},
    {SCPI_OPC, "Answers \"+1\" at once, whatever runs: it is no test of completion.", "", "+1", "*OPC?"},
    {SCPI_RST, "Resets the instrument's command state, which ends a sweep; no setting changes.", "", "", "*RST"},
    {SCPI_CLS, "Empties the error queue and clears all status registers.", "", "", "*CLS"},
    {SCPI_ESR,
     "The standard event register as a decimal number, cleared by reading: 8 device error or synthesizer not locked, "
     "16 execution error, 32 command error, 128 RF is on. From the start of a sweep on, 8 and 128 are those of its "
     "replies.",
     "", "", "*ESR?"},
    {SCPI_STB,
     "The status byte as eight digits 0 or 1, bit 0 first, cleared by reading: the third is 1 after an error, the "
     "sixth while a bit of \"*ESR?\" is set. An empty answer means that the link is lost. Takes up to 400 ms while a "
     "sweep runs.",
     "", "", "*STB?"},
    {SCPI_SYST_ERR,
     "Answers the oldest entry of the error queue and takes it out. Numbers without a text come from the instrument or "
     "the link: surprises.md has a table.",
     "", "+0,\"No error\"", ":SYST:ERR?"},
    {SCPI_SYST_ERR_COUN, "How many entries the error queue holds.", "", "0", ":SYST:ERR:COUN?"},
    {SCPI_SYST_VERS, "The SCPI version that this language follows.", "", "\"1999.0\"", ":SYST:VERS?"},

    {SCPI_SOUR_FREQ,
     "The frequency in fixed mode; sent at once there, stored in the other modes. Whole Hz. Right after opening the "
     "answer is a start value that was not sent. \"DEF\" means the lower "
     "limit, and 0 Hz where it is only stored.",
     kFrequencyRange, "the middle of the range", ":FREQ 1.5GHZ"},
    {SCPI_SOUR_FREQ_MODE, "Fixed, sweep or list; a change sends what the mode needs. \"CW\" means fixed.", "", "FIXed",
     ":FREQ:MODE SWE"},
    {SCPI_SOUR_FREQ_STAR,
     "Start of the sweep; stored, and in sweep mode sent, which older firmware refuses: write ':FREQ:MODE SWE' after "
     "it. \"DEF\" means 0 Hz, unchecked.",
     kFrequencyRange, "the lower limit", ":FREQ:STAR 1GHZ"},
    {SCPI_SOUR_FREQ_STOP,
     "Stop of the sweep; stored, and in sweep mode sent, which older firmware refuses: write ':FREQ:MODE SWE' after "
     "it. \"DEF\" means 0 Hz, unchecked.",
     kFrequencyRange, "the upper limit", ":FREQ:STOP 2GHZ"},
    {SCPI_SOUR_FREQ_CENT,
     "Centre of the sweep; the span shrinks on both sides where an end would leave the limits. \"DEF\" means 0 Hz, "
     "unchecked.",
     kFrequencyRange, "the middle of the range", ":FREQ:CENT 1.5GHZ"},
    {SCPI_SOUR_FREQ_SPAN, "Span of the sweep around its centre; shrinks as with the centre. \"DEF\" means 0 Hz.",
     "0 to upper minus lower limit", "the whole range", ":FREQ:SPAN 100MHZ"},

    {SCPI_SOUR_POW_LEV, "The level in fixed mode. MIN, MAX and DEF mean 0 dBm in the set form.", kPowerRange,
     "the lower limit", ":POW -10"},
    {SCPI_SOUR_POW_MODE,
     "Fixed, sweep or list; \"CW\" is refused. RF-out generation 0 has no power sweep: nothing is sent there, without "
     "an error.",
     "", "FIXed", ":POW:MODE SWE"},
    {SCPI_SOUR_POW_STAR, "Start of the power sweep. MIN, MAX and DEF mean 0 dBm in the set form.", kPowerRange, "-20",
     ":POW:STAR -20"},
    {SCPI_SOUR_POW_STOP, "Stop of the power sweep. MIN, MAX and DEF mean 0 dBm in the set form.", kPowerRange, "10",
     ":POW:STOP 10"},
    {SCPI_SOUR_POW_CENT, "Centre of the power sweep; the span stays.", kPowerRange, "-5", ":POW:CENT 0"},
    {SCPI_SOUR_POW_SPAN, "Span of the power sweep; the centre stays.", "0 to upper minus lower limit", "30",
     ":POW:SPAN 20DB"},
    {SCPI_SOUR_POW_ALC, "Levelling is always on: \"OFF\" is refused, everything else changes nothing.", "", "on",
     ":POW:ALC ON"},
    {SCPI_SOUR_POW_ATT, "Answers \"0\" and leaves an entry 1,\"\" in the error queue; there is no set form.", "", "0",
     ":POW:ATT?", kQueryOnly},
    {SCPI_SOUR_POW_ATT_AUTO, "Answers \"off\"; there is no set form.", "", "off", ":POW:ATT:AUTO?", kQueryOnly},
    {SCPI_SOUR_POW_ATT_MODE, "What the attenuators are used for.", "", "DISTortion", ":POW:ATT:MODE OPT"},
    {SCPI_SOUR_POW_CONT,
     "Internal or external levelling; it reprograms the synchronisation inputs and outputs and the trigger source.", "",
     "INTernal", ":POW:CONT EXT"},
    {SCPI_UNIT_POW, "The unit of the answers to power queries; settings stay dBm.", "", "DBM", ":UNIT:POW W"},

    {SCPI_SOUR_SWE_POIN, "Points of the frequency sweep and of the power sweep. \"DEF\" means the upper limit.",
     "the instrument's point limits, which a query with MIN or MAX answers", "501", ":SWE:POIN 11"},
    {SCPI_SOUR_SWE_STEP,
     "Step of the frequency sweep in Hz, as a bare number without a unit; the points follow from it.",
     "not checked; MIN, MAX and DEF count as 0, 1 and 2 Hz", "0", ":SWE:STEP 1E6"},
    {SCPI_SOUR_SWE_DWEL, "Time at each point.", kKeywordSeconds, "0", ":SWE:DWEL 10MS"},
    {SCPI_SOUR_SWE_SPAC,
     "Spacing of the points; a new spacing is sent with the next change of the range. The last step of a logarithmic "
     "sweep is larger than the others.",
     "", "LINear", ":SWE:SPAC LOG"},

    {SCPI_SOUR_LIST_FREQ, "The points of the frequency list, any number of them. No query.",
     "the instrument's frequency limits", "", ":LIST:FREQ 1GHZ,1.5GHZ,3GHZ", kSetOnly},
    {SCPI_SOUR_LIST_FREQ_POIN, "How many points the frequency list holds; MIN, MAX and DEF answer 0, 2500 and 101.", "",
     "1", ":LIST:FREQ:POIN?"},
    {SCPI_SOUR_LIST_POW, "The points of the power list, any number of them, in dBm. No query.", "not checked", "",
     ":LIST:POW -10,-20,-30", kSetOnly},
    {SCPI_SOUR_LIST_POW_POIN, "How many points the power list holds; MIN, MAX and DEF answer 0, 2500 and 101.", "", "1",
     ":LIST:POW:POIN?"},
    {SCPI_SOUR_LIST_DWEL, "Time at each point; the query answers whole seconds, ':SWE:DWEL?' the exact value.",
     "0 to 4 s; MIN, MAX and DEF count as 0, 1 and 2 s", "0", ":LIST:DWEL 0.5"},
    {SCPI_SOUR_LIST_DWEL_POIN, "Answers an empty text: a dwell list has no length of its own.", "", "",
     ":LIST:DWEL:POIN?"},
    {SCPI_SOUR_LIST_MODE,
     "Whether points advance by themselves or by an external trigger each. Write ':TRIG:SOUR EXT' first, then "
     "':LIST:MODE MAN'; with BUS no trigger is waited for.",
     "", "AUTO", ":LIST:MODE MAN"},

    {SCPI_SOUR_PULM_STAT, "Pulse modulation on or off. The text \"1\" means off; say \"ON\".", "", "off",
     ":PULM:STAT ON"},
    {SCPI_SOUR_PULM_SOUR, "Internal generator or external input.", "", "INTernal", ":PULM:SOUR EXT"},
    {SCPI_SOUR_PULM_SOUR_INT, "What the internal generator makes. A pulse train can be stored, not started.", "",
     "FRUN", ":PULM:SOUR:INT SQU"},
    {SCPI_SOUR_PULM_POL, "Polarity of the pulses.", "", "NORMal", ":PULM:POL INV"},
    {SCPI_SOUR_PULM_INT_PER, "Period of the internal pulses. \"DEF\" means 2 s. Goes out in whole seconds.",
     "40 ns to 4 s", "0", ":PULM:INT:PER 2"},
    {SCPI_SOUR_PULM_INT_PWID, "Width of the internal pulses. \"DEF\" means 2 s. Goes out in whole seconds.",
     "40 ns to 4 s", "1", ":PULM:INT:PWID 1"},
    {SCPI_SOUR_PULM_INT_TRA_OFFT, "Off-times of the pulse train.", "not checked", "", ":PULM:INT:TRA:OFFT 1MS,2MS"},
    {SCPI_SOUR_PULM_INT_TRA_ONT, "On-times of the pulse train; the query answers the off-times.", "not checked", "",
     ":PULM:INT:TRA:ONT 1MS,2MS"},
    {SCPI_SOUR_PULM_INT_TRA_REP, "Repetitions of the pulse train; the query answers the off-times.", "not checked", "",
     ":PULM:INT:TRA:REP 5,10"},
    {SCPI_SOUR_PULM_MODE, kStub, "", "", ":PULM:MODE FIX", kNoForm},

    {SCPI_OUTP_STAT,
     "The RF output. A refusal by the instrument reaches the error queue; of all set forms only this one reports it, "
     "and the query answers the new state all the same. Off after opening.",
     "", "OFF", ":OUTP ON"},
    {SCPI_INIT_CONT_ALL, "Continuous sweeping: starts polling if a mode sweeps. The text \"1\" means off; say \"ON\".",
     "", "off", ":INIT:CONT ON"},
    {SCPI_INIT_IMM_ALL,
     "Runs one sweep; refused (-213) while ':INIT:CONT' is on. examples/single_sweep.c waits for its end.", "", "",
     ":INIT"},
    {SCPI_ABOR,
     "Stops polling; every setting stays, ':INIT:CONT' too: switch that off, or the next sweep setting starts polling "
     "again.",
     "", "", ":ABOR"},
    {SCPI_TRIG_SEQ_IMM,
     "With trigger source BUS: sends the whole frequency and power state again. Starts no sweep; refused "
     "(-211) while ':INIT:CONT' is on.",
     "", "", ":TRIG"},
    {SCPI_TRIG_SEQ_SOUR,
     "What a point or a sweep waits for. BUS starts at once, as IMM does, but IMM breaks a sweep off after a second. "
     "In manual list mode EXT and BUS toggle single stepping each time they are written.",
     "", "BUS", ":TRIG:SOUR EXT"},
    {SCPI_TRIG_SEQ_SLOP, "The edge of the external trigger.", "", "POSitive", ":TRIG:SLOP NEG"},
    {SCPI_TRIG_AUX_OUTP_ENAB, "The auxiliary output.", "", "OFF", ":TRIG:AUX ON"},
    {SCPI_TRIG_AUX_INT, "When the auxiliary output pulses.", "", "SWEep", ":TRIG:AUX:INT POIN"},
    {SCPI_TRIG_AUX_OPOL, "Polarity of the auxiliary output.", "", "POSitive", ":TRIG:AUX:OPOL NEG"},
    {SCPI_TRIG_AUX_DUR, "Length of a pulse of the auxiliary output, whole microseconds up to 255; more wraps.",
     kKeywordSeconds, "1e-06", ":TRIG:AUX:DUR 5US"},
    {SCPI_TRIG_AUX_PULS_PER, "Period of the synchronisation generator, up to 4.29 s; more wraps.", kKeywordSeconds,
     "1e-07", ":TRIG:AUX:PULS:PER 1US"},
    {SCPI_TRIG_AUX_PULS_WIDT, "Pulse width of the synchronisation generator, up to 4.29 s; more wraps.",
     kKeywordSeconds, "5e-08", ":TRIG:AUX:PULS:WIDT 50NS"},

    {SCPI_SOUR_ROSC_SOUR, "Internal or external reference oscillator.", "", "INTernal", ":ROSC:SOUR EXT"},
    {SCPI_SOUR_ROSC_EXT_FREQ, "Frequency of the external reference, whole Hz up to 4294967295; more wraps.",
     "not checked; MIN, MAX and DEF count as 0, 1 and 2 Hz", "10000000", ":ROSC:EXT:FREQ 10MHZ"},
    {SCPI_SOUR_PHAS, "Phase of the output in degrees, as a bare number.",
     "not checked; MIN, MAX and DEF count as 0, 1 and 2 degrees", "0", ":PHAS 90"},

    {SCPI_SOUR_AM_DEPT, kStub, "", "", ":AM:DEPT 50", kNoForm},
    {SCPI_SOUR_AM_EXT_COUP, kStub, "", "", ":AM:EXT:COUP AC", kNoForm},
    {SCPI_SOUR_AM_INT_FREQ, kStub, "", "", ":AM:INT:FREQ 1KHZ", kNoForm},
    {SCPI_SOUR_AM_SOUR, kStub, "", "", ":AM:SOUR INT", kNoForm},
    {SCPI_SOUR_AM_STAT, kStub, "", "", ":AM:STAT OFF", kNoForm},
};

const SCommandGroup kGroups[] = {
    {"Common and system", SCPI_IDN},
    {"Frequency", SCPI_SOUR_FREQ},
    {"Power", SCPI_SOUR_POW_LEV},
    {"Sweep", SCPI_SOUR_SWE_POIN},
    {"Lists", SCPI_SOUR_LIST_FREQ},
    {"Pulse modulation", SCPI_SOUR_PULM_STAT},
    {"Output, runs and trigger", SCPI_OUTP_STAT},
    {"Reference oscillator and phase", SCPI_SOUR_ROSC_SOUR},
    {"Amplitude modulation", SCPI_SOUR_AM_DEPT},
};

}  // namespace

std::span<const SCommandSentence> CommandSentences() {
  return kSentences;
}

std::span<const SCommandGroup> CommandGroups() {
  return kGroups;
}

}  // namespace scpi_lib
