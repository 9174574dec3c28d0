// Signals of the Fen's scripts: a new aim ends the older one of the same weapon.
#ifndef FENSIGS_H
#define FENSIGS_H

#define SIG_YARD 1
#define SIG_AIM_1 2
#define SIG_AIM_2 4
#define SIG_AIM_3 8

#define SMOKE_WHITE 256 | 1
#define SMOKE_BLACK 256 | 2

#endif
