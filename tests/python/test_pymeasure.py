"""The instrument for pymeasure: each setting is written at both ends of its range and read back, and refused outside."""
import pytest

pytest.importorskip("pymeasure")

from scpi_zlt import AnswerTimeout, QueuedError  # noqa: E402
from scpi_zlt.pymeasure import MicrowaveGenerator  # noqa: E402
from scpi_zlt.settings import INTEGER, LIST, NUMBER, SETTINGS, SWITCH, WORD  # noqa: E402

# Not read back as written: whole seconds on the link, centre and span that move each other, steps that count, a
# period that is never below its width.
OTHERWISE = {"sync_period", "pulse_period", "pulse_width", "frequency_center", "frequency_span", "power_center", "power_span",
             "step"}


@pytest.fixture
def instrument(zlt_generator):
    return MicrowaveGenerator(zlt_generator)


@pytest.mark.parametrize("setting", SETTINGS, ids=[setting.name for setting in SETTINGS])
def test_each_setting(instrument, zlt_generator, setting):
    assert getattr(MicrowaveGenerator, setting.name).__doc__
    if setting.forms == "query":
        assert getattr(instrument, setting.name) >= 0
        return
    good, bad = [], []
    if setting.kind in (NUMBER, INTEGER, LIST):
        low, high = instrument.limits(setting.name)
        assert low < high
        good, bad = [low, high], [low - 1, high * 2 + 1, float("nan")]
        if setting.kind == LIST:
            good, bad = [[low, high, low]], [[value] for value in bad] + [[]]
        if setting.kind == INTEGER:
            bad.append(low + 0.5)
    elif setting.kind == WORD:
        good, bad = list(setting.words), ["nonsense", ""]
    elif setting.kind == SWITCH:
        good, bad = [True] if setting.name == "levelling" else [True, False], ["ON", 2]
    for value in bad:
        before = zlt_generator.ask("packets")
        with pytest.raises(ValueError, match=setting.name):
            setattr(instrument, setting.name, value)
        assert zlt_generator.ask("packets") == before
    for value in good:
        setattr(instrument, setting.name, value)
        if "query" in setting.forms and setting.name not in OTHERWISE:
            assert getattr(instrument, setting.name) == pytest.approx(value, rel=1e-9)


def test_what_the_instrument_holds(instrument, zlt_generator):
    instrument.frequency, instrument.power, instrument.output = 1.5e9, -10, True
    assert zlt_generator.holds("P_FREQUENCY")[0] == 1.5e9
    assert zlt_generator.holds("P_RF_OUT2")[:5] == [1, 0, 0, 0, -10]
    with pytest.raises(QueuedError):
        instrument.levelling = False
    zlt_generator.check = False
    instrument.write(":FREQ 99GHZ")
    with pytest.raises(QueuedError, match="-222"):
        instrument.check_errors()
    instrument.write("*IDN?")
    assert instrument.read() == instrument.id and instrument.values(":FREQ?;:POW?", separator=";") == [1.5e9, -10]
    instrument.shutdown()
    assert not zlt_generator.is_open and zlt_generator.holds("P_RF_OUT2")[0] == 0


def test_limits_do_not_depend_on_the_unit(instrument):
    instrument.power_unit = "w"
    assert instrument.limits("power") == (-100, 20) and instrument.power_unit == "w"


@pytest.mark.zlt(pass_=600)
def test_a_sweep(instrument, zlt_generator):
    instrument.frequency_start, instrument.frequency_stop, instrument.points = 1e9, 2e9, 11
    instrument.frequency_mode = "sweep"
    instrument.start()
    zlt_generator.wait("run")
    instrument.wait_for_sweep()
    assert zlt_generator.ask("passes") == "1"
    instrument.continuous = True
    zlt_generator.wait("run")
    instrument.abort()
    assert not instrument.continuous


def test_a_sweep_that_is_armed(instrument, zlt_generator):
    instrument.trigger_source, instrument.frequency_mode = "external", "sweep"
    instrument.start()
    zlt_generator.wait("held")
    with pytest.raises(AnswerTimeout, match="trigger it"):
        instrument.wait_for_sweep(0.5)
    zlt_generator.trigger()
    instrument.wait_for_sweep()
    assert zlt_generator.ask("passes") == "1"
