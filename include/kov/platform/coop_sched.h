/*
 * Cooperative scheduler: where long walks let other tasks of the process run.
 *
 * The library is one task on one thread. A yield may run other tasks, and those may call the library; so it
 * holds no node, entry or root across a yield, reads the root again and resumes by key. A platform that
 * has no other tasks implements the three calls as nothing, and "no".
 */
#ifndef KOV_PLATFORM_COOP_SCHED_H
#define KOV_PLATFORM_COOP_SCHED_H

#ifdef __cplusplus
extern "C" {
#endif

/* Yields if it is time to. Called once for each entry of a walk, so "not yet" must be cheap. */
void coop_sched_may_yield(void);

/* Non-zero: it is time to yield. The caller prepares and then calls coop_sched_yield. */
int coop_should_sched_yield(void);

/* Runs other tasks that are ready, and returns. */
void coop_sched_yield(void);

#ifdef __cplusplus
}
#endif

#endif
