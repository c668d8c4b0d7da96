/* The example of a migration, examples/migrate.c, as functions: each is the main function of a program. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

int run_example(void);

/* The same steps in the other order: what is announced first is lost when the program is killed. */
int run_announcing_first(void);

#ifdef __cplusplus
}
#endif
