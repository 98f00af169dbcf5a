/* Control of the simulated generators from the same process: press what is on the front panel, pulse the trigger input,
 * break the link, and ask what the instrument really holds. C linkage, so that dlsym finds it in libSkVisa.so.2.
 *
 *   simControl("SIM3 trigger");                 one pulse on the trigger input ("trigger=5": five)
 *   simControl("SIM3 button=1 pll=0");          states and faults: the keys of a resource name that may change later
 *   simControl("SIM3 await=held");              waits, 10 s at most, until a run waits for its trigger; also await=run,
 *                                               await=packets:N, await=passes:N
 *   simControl("SIM3 mark");                    starts a new list of packets (see "requests" below)
 *   simControl("SIM3 forget");                  the next open of SIM3 makes a new instrument
 *
 *   simQuery("SIM3 P_FREQUENCY", text, size);   decoded values that the instrument holds, blanks between them: for
 *                                               P_FREQUENCY start, points, step, stop; for a list its points
 *   simQuery("SIM3 status P_FREQUENCY", ...)    status that answered the last SK_SET of it, as a number; "none" before
 *   simQuery("SIM3 packets", ...)               packets received; also passes, held, links, state, requests
 *
 * An instrument exists from the first viOpen of its number on. "heal=1" and "lost=off" mend the link, but not a session
 * that has noticed the loss: it never sends anything again. All calls are safe from any thread. docs/simulator.md lists
 * the keys and has the line that links a program. */
#ifndef SIMULATOR_CONTROL_H
#define SIMULATOR_CONTROL_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 0, or -1 after a line on the error stream that says what is wrong. */
int simControl(const char* command);

/* Returns the length of the answer without its zero, whether it fits or not; -1 if there is no such question. Stores at
 * most size - 1 characters and a zero; out may be null when size is 0. */
int simQuery(const char* what, char* out, int size);

#ifdef __cplusplus
}
#endif

#endif
