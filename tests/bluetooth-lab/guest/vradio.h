/* clang-format off */
/* What the parts of vradio share, in the style of its sources.  One thread. */
#ifndef VRADIO_H
#define VRADIO_H
#include <stdint.h>

typedef uint8_t u8;
typedef uint16_t u16;

/* vradio.c: the clock in ms, a random number, a line in the log */
double now_ms(void);
uint32_t rnd(void);
void say(const char *f, ...);

/* scene.c: the beacons on the air */
#define MAXB 64
struct beacon {
	int used, on;
	char name[32];
	u8 addr[6], addr_type, pdu;     /* addr little-endian, as on the wire */
	u8 adv[31], adv_len, rsp[31], rsp_len;
	int rssi[64], n_rssi, i_rssi, jitter, loss;
	long every;                     /* ms */
	double next;                    /* ms */
	long count;                     /* adverts still to send; <0: no end */
	/* the controller's memory of it, for the duplicate filter */
	int seen; u8 seen_adv[31], seen_len; int seen_rssi;
	unsigned long sent;
};
extern struct beacon B[MAXB];
void line(char *l);                     /* obeys a control line */

/* controller.c: the controller on /dev/vhci */
enum { DUP_STRICT, DUP_DATA, DUP_RSSI, DUP_OFF };
extern int vhci;                        /* <0: unplugged */
extern int dual, dup_mode;
extern u8 bdaddr[6];
extern double inquiry_end;              /* ms; 0: no inquiry */
void attach(void);
void detach(void);
void event(u8 code, const u8 *p, int n);
void command(u16 op, const u8 *p, int n);
/* Fails the next n commands of this kind (n<0: all), or none when n is 0. */
void fail_command(u16 op, u8 status, int n);
void advert(struct beacon *b);          /* the beacon advertises once */

#endif
