/*
 * vradio - a scripted Bluetooth LE controller on /dev/vhci.
 *
 * It answers the HCI commands that the kernel needs to bring an adapter up and
 * to scan, and, while a scan is enabled, sends advertising reports for the
 * beacons it has been told about.  It is driven by text lines (see README.md beside run.sh)
 * written to a FIFO, and keeps a log of what the host asked of the radio.
 *
 * usage: vradio FIFO LOG [BDADDR]
 */
#define _GNU_SOURCE
#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

typedef uint8_t u8;
typedef uint16_t u16;

enum { DUP_STRICT, DUP_DATA, DUP_RSSI, DUP_OFF };
static const char *dup_name[] = { "strict", "data", "rssi", "off" };

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
	/* controller-side duplicate filter memory */
	int seen; u8 seen_adv[31], seen_len; int seen_rssi;
	unsigned long sent;
};
static struct beacon B[MAXB];

#define MAXF 32
static struct { u16 op; u8 status; int n; } F[MAXF];

static int vhci = -1, dual, dup_mode = DUP_RSSI;
static u8 bdaddr[6] = { 0x01, 0x00, 0xAA, 0xAD, 0x1E, 0xC0 };
static int scan_on, scan_dup, scan_active, scan_int = 0x10, scan_win = 0x10;
static double scan_t0, inquiry_end;
static unsigned long reports, filtered;
static FILE *logf_;
static uint32_t rng = 0x1234567;

static double now_ms(void)
{
	struct timespec t;
	clock_gettime(CLOCK_MONOTONIC, &t);
	return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}
static uint32_t rnd(void)
{
	rng ^= rng << 13; rng ^= rng >> 17; rng ^= rng << 5;
	return rng;
}
static void say(const char *f, ...)
{
	va_list a;
	fprintf(logf_, "%.3f ", now_ms() / 1e3);
	va_start(a, f); vfprintf(logf_, f, a); va_end(a);
	fputc('\n', logf_); fflush(logf_);
}

/* ---- HCI out ---- */
static void put(const u8 *p, int n)
{
	if (vhci >= 0 && write(vhci, p, n) < 0)
		say("write: %s", strerror(errno));
}
static void event(u8 code, const u8 *p, int n)
{
	u8 b[260] = { 0x04, code, (u8)n };
	memcpy(b + 3, p, n);
	put(b, n + 3);
}
static void cc(u16 op, const u8 *p, int n)
{
	u8 b[256] = { 1, op & 0xff, op >> 8 };
	memcpy(b + 3, p, n);
	event(0x0e, b, n + 3);
}
static void cs(u16 op, u8 status)
{
	u8 b[4] = { status, 1, op & 0xff, op >> 8 };
	event(0x0f, b, 4);
}
static void ccs(u16 op, u8 status) { cc(op, &status, 1); }

static void report(struct beacon *b, u8 type, const u8 *d, u8 len, int rssi)
{
	u8 e[64] = { 0x02, 1, type, b->addr_type };
	memcpy(e + 4, b->addr, 6);
	e[10] = len;
	memcpy(e + 11, d, len);
	e[11 + len] = (u8)(int8_t)rssi;
	event(0x3e, e, 12 + len);
	reports++;
}

/* ---- air ---- */
static void advert(struct beacon *b)
{
	int r = b->rssi[b->i_rssi];
	b->i_rssi = (b->i_rssi + 1) % b->n_rssi;
	if (b->jitter)
		r += (int)(rnd() % (2 * b->jitter + 1)) - b->jitter;
	if (r > 20) r = 20;
	if (r < -127) r = -127;
	b->sent++;
	if (!scan_on) return;
	if (b->loss && (int)(rnd() % 100) < b->loss) return;
	if (scan_win < scan_int && (int)(rnd() % scan_int) >= scan_win) return;
	if (scan_dup && dup_mode != DUP_OFF && b->seen) {
		int same = b->seen_len == b->adv_len &&
			   !memcmp(b->seen_adv, b->adv, b->adv_len);
		if (dup_mode == DUP_STRICT || (dup_mode == DUP_DATA && same) ||
		    (dup_mode == DUP_RSSI && same && b->seen_rssi == r)) {
			filtered++;
			return;
		}
	}
	b->seen = 1; b->seen_rssi = r; b->seen_len = b->adv_len;
	memcpy(b->seen_adv, b->adv, b->adv_len);
	report(b, b->pdu, b->adv, b->adv_len, r);
	if (scan_active && (b->pdu == 0x00 || b->pdu == 0x02))
		report(b, 0x04, b->rsp, b->rsp_len, r);
}

/* ---- HCI in ---- */
static int take_fail(u16 op)
{
	for (int i = 0; i < MAXF; i++)
		if (F[i].n && F[i].op == op) {
			if (F[i].n > 0) F[i].n--;
			return F[i].status;
		}
	return -1;
}
static void command(u16 op, const u8 *p, int n)
{
	u8 r[72] = { 0 };
	int f = take_fail(op);
	(void)n;
	if (f >= 0) {
		say("fail op=%04x status=%02x", op, f);
		if (op == 0x0401 || op == 0x0405 || op == 0x200d) cs(op, f);
		else ccs(op, f);
		return;
	}
	switch (op) {
	case 0x0c03:                    /* Reset */
		scan_on = 0; inquiry_end = 0;
		say("reset");
		ccs(op, 0); break;
	case 0x1001:                    /* version: 4.2, company 0x05f1 */
		r[1] = 0x08; r[4] = 0x08; r[5] = 0xf1; r[6] = 0x05;
		cc(op, r, 9); break;
	case 0x1002:                    /* supported commands */
		r[1 + 5] = 0xc0; r[1 + 10] = 0x00;
		r[1 + 25] = 0xf7; r[1 + 26] = 0xff; r[1 + 27] = 0xff; r[1 + 28] = 0x0f;
		cc(op, r, 65); break;
	case 0x1003:                    /* features */
		r[1 + 4] = dual ? 0x40 : 0x60;
		if (dual) { r[1] = 0xff; r[2] = 0x8f; r[4] = 0x80; r[1 + 6] = 0x0b; }
		cc(op, r, 9); break;
	case 0x1005:                    /* buffer size */
		r[1] = 0xfb; r[2] = 0; r[3] = 0x40; r[4] = 8; r[6] = 8;
		cc(op, r, 8); break;
	case 0x1009: memcpy(r + 1, bdaddr, 6); cc(op, r, 7); break;
	case 0x0c14: strcpy((char *)r + 1, "vradio"); {
		u8 nm[249] = { 0 }; memcpy(nm, r, 8); cc(op, nm, 249); } break;
	case 0x0c23: cc(op, r, 4); break;       /* class of device */
	case 0x0c25: cc(op, r, 3); break;       /* voice setting */
	case 0x0c38: r[1] = 1; cc(op, r, 2); break;     /* num IAC */
	case 0x0c39: r[1] = 1; r[2] = 0x33; r[3] = 0x8b; r[4] = 0x9e; cc(op, r, 5); break;
	case 0x0c58: r[1] = 0; cc(op, r, 2); break;     /* inq rsp tx power */
	case 0x0c1b: cc(op, r, 5); break;       /* page scan activity */
	case 0x0c46: cc(op, r, 2); break;       /* page scan type */
	case 0x0c16: cc(op, r, 3); break;       /* conn accept timeout */
	case 0x0c12: cc(op, r, 3); break;       /* delete stored key */
	case 0x2002: r[1] = 0xfb; r[3] = 8; cc(op, r, 4); break;
	case 0x2003: cc(op, r, 9); break;       /* LE features */
	case 0x2007: r[1] = 4; cc(op, r, 2); break;
	case 0x200f: r[1] = 16; cc(op, r, 2); break;
	case 0x2018: for (int i = 1; i < 9; i++) r[i] = rnd(); cc(op, r, 9); break;
	case 0x201c: memset(r + 1, 0xff, 5); cc(op, r, 9); break;
	case 0x200b:                    /* LE scan parameters */
		scan_active = p[0];
		scan_int = p[1] | p[2] << 8; scan_win = p[3] | p[4] << 8;
		ccs(op, 0); break;
	case 0x200c:                    /* LE scan enable */
		if (!!p[0] != scan_on) {
			scan_on = !!p[0]; scan_dup = p[1];
			if (scan_on) {
				scan_t0 = now_ms(); reports = filtered = 0;
				for (int i = 0; i < MAXB; i++) B[i].seen = 0;
				say("scan on %s filter_dup=%d interval=%.2fms window=%.2fms",
				    scan_active ? "active" : "passive", scan_dup,
				    scan_int * .625, scan_win * .625);
			} else
				say("scan off after=%.0fms reports=%lu filtered=%lu",
				    now_ms() - scan_t0, reports, filtered);
		}
		ccs(op, 0); break;
	case 0x200d:                    /* LE create connection: nobody answers */
		say("connect to %02X:%02X:%02X:%02X:%02X:%02X", p[11], p[10], p[9], p[8], p[7], p[6]);
		cs(op, 0); break;
	case 0x200e: {
		u8 m[19] = { 0x01, 0x02 };
		ccs(op, 0); event(0x3e, m, 19); break;
	}
	case 0x0401:                    /* inquiry: nothing found */
		say("inquiry"); cs(op, 0);
		inquiry_end = now_ms() + p[3] * 1280.0; break;
	case 0x0402: inquiry_end = 0; ccs(op, 0); break;
	/* settings that only need a yes */
	case 0x0c01: case 0x0c05: case 0x0c13: case 0x0c18: case 0x0c1a:
	case 0x0c1c: case 0x0c24: case 0x0c33: case 0x0c3a: case 0x0c45:
	case 0x0c47: case 0x0c52: case 0x0c56: case 0x0c63: case 0x0c6d:
	case 0x080f: case 0x2001: case 0x2005: case 0x2006: case 0x2008:
	case 0x2009: case 0x200a: case 0x2010: case 0x2011: case 0x2012:
		ccs(op, 0); break;
	default:
		say("unknown op=%04x", op);
		ccs(op, 0x01);
	}
}

/* ---- attach / detach ---- */
static void attach(void)
{
	u8 b[2] = { 0xff, 0x00 };
	if (vhci >= 0) return;
	vhci = open("/dev/vhci", O_RDWR | O_NONBLOCK | O_CLOEXEC);
	if (vhci < 0 || write(vhci, b, 2) != 2) {
		say("vhci: %s", strerror(errno));
		return;
	}
	say("attached");
}
static void detach(void)
{
	if (vhci < 0) return;
	close(vhci); vhci = -1; scan_on = 0; inquiry_end = 0;
	say("detached");
}

/* ---- control lines ---- */
static int hex(const char *s, u8 *o, int max)
{
	int n = 0, hi = -1;
	for (; *s; s++) {
		int c = tolower((unsigned char)*s), v;
		if (c == '-' || c == ':' || c == '.') continue;
		if (c >= '0' && c <= '9') v = c - '0';
		else if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
		else return -1;
		if (hi < 0) hi = v;
		else { if (n >= max) return -1; o[n++] = hi << 4 | v; hi = -1; }
	}
	return hi < 0 ? n : -1;
}
static int set_mfg(struct beacon *b, const u8 *d, int n)
{
	if (n < 2 || n > 26) return -1;
	memcpy(b->adv, "\x02\x01\x06", 3);
	b->adv[3] = n + 1; b->adv[4] = 0xff;
	memcpy(b->adv + 5, d, n);
	b->adv_len = n + 5;
	return 0;
}
static int set_kv(struct beacon *b, char *k, char *v)
{
	u8 t[64]; int n;
	if (!strcmp(k, "addr")) {
		if (hex(v, t, 6) != 6) return -1;
		for (int i = 0; i < 6; i++) b->addr[i] = t[5 - i];
	} else if (!strcmp(k, "type")) b->addr_type = !strcmp(v, "random");
	else if (!strcmp(k, "pdu")) {
		if (!strcmp(v, "ind")) b->pdu = 0;
		else if (!strcmp(v, "scan")) b->pdu = 2;
		else if (!strcmp(v, "nonconn")) b->pdu = 3;
		else return -1;
	} else if (!strcmp(k, "every")) { b->every = atol(v); if (b->every < 1) b->every = 1; b->next = now_ms(); }
	else if (!strcmp(k, "jitter")) b->jitter = abs(atoi(v));
	else if (!strcmp(k, "loss")) b->loss = atoi(v);
	else if (!strcmp(k, "count")) b->count = atol(v);
	else if (!strcmp(k, "on")) b->on = atoi(v);
	else if (!strcmp(k, "rssi")) {
		b->n_rssi = b->i_rssi = 0;
		for (char *s, *q = strtok_r(v, ",", &s); q && b->n_rssi < 64; q = strtok_r(NULL, ",", &s))
			b->rssi[b->n_rssi++] = atoi(q);
		if (!b->n_rssi) return -1;
	} else if (!strcmp(k, "adv") || !strcmp(k, "rsp")) {
		if ((n = hex(v, t, 31)) < 0) return -1;
		if (*k == 'a') { memcpy(b->adv, t, n); b->adv_len = n; }
		else { memcpy(b->rsp, t, n); b->rsp_len = n; }
	} else if (!strcmp(k, "mfg")) {         /* COMPANY:HEX, company as 004C */
		char *c = strchr(v, ':');
		if (!c) return -1;
		*c = 0;
		if (hex(v, t + 2, 2) != 2) return -1;
		t[0] = t[3]; t[1] = t[2];
		if ((n = hex(c + 1, t + 2, 24)) < 0) return -1;
		return set_mfg(b, t, n + 2);
	} else if (!strcmp(k, "ibeacon")) {     /* UUID,MAJOR,MINOR[,POWER] */
		char *s, *u = strtok_r(v, ",", &s), *ma = strtok_r(NULL, ",", &s),
		     *mi = strtok_r(NULL, ",", &s), *pw = strtok_r(NULL, ",", &s);
		unsigned long M, N;
		if (!u || !ma || !mi) return -1;
		memcpy(t, "\x4c\x00\x02\x15", 4);
		if (hex(u, t + 4, 16) != 16) return -1;
		M = strtoul(ma, NULL, 0); N = strtoul(mi, NULL, 0);
		t[20] = M >> 8; t[21] = M; t[22] = N >> 8; t[23] = N;
		t[24] = (u8)(pw ? strtol(pw, NULL, 0) : -59);
		return set_mfg(b, t, 25);
	} else return -1;
	return 0;
}
static struct beacon *find(const char *name)
{
	for (int i = 0; i < MAXB; i++)
		if (B[i].used && !strcmp(B[i].name, name)) return &B[i];
	return NULL;
}
static void line(char *l)
{
	char *s, *w = strtok_r(l, " \t\r\n", &s), *a, *kv;
	struct beacon *b;
	int i;
	if (!w || *w == '#') return;
	a = strtok_r(NULL, " \t\r\n", &s);
	if (!strcmp(w, "attach")) attach();
	else if (!strcmp(w, "detach")) detach();
	else if (!strcmp(w, "quit")) { detach(); say("quit"); exit(0); }
	else if (!strcmp(w, "hwerr")) { u8 e = 0x42; event(0x10, &e, 1); say("hwerr"); }
	else if (!strcmp(w, "mark")) say("mark %s", a ? a : "");
	else if (!strcmp(w, "dual") && a) dual = atoi(a);
	else if (!strcmp(w, "bdaddr") && a) {
		u8 t[6];
		if (hex(a, t, 6) == 6) for (i = 0; i < 6; i++) bdaddr[i] = t[5 - i];
	} else if (!strcmp(w, "dup") && a) {
		for (i = 0; i < 4; i++)
			if (!strcmp(a, dup_name[i])) { dup_mode = i; say("dup %s", a); return; }
		say("bad: dup %s", a);
	} else if (!strcmp(w, "fail") && a) {   /* fail OPCODE STATUS [COUNT] */
		char *st = strtok_r(NULL, " \t\r\n", &s), *n = strtok_r(NULL, " \t\r\n", &s);
		u16 op = strtoul(a, NULL, 16);
		for (i = 0; i < MAXF; i++) if (F[i].op == op) F[i].n = 0;
		if (!st || !strcmp(st, "off")) return;
		for (i = 0; i < MAXF; i++)
			if (!F[i].n) {
				F[i].op = op; F[i].status = strtoul(st, NULL, 16);
				F[i].n = n ? atoi(n) : -1;
				return;
			}
	} else if (!strcmp(w, "del") && a) {
		if ((b = find(a))) b->used = 0;
	} else if ((!strcmp(w, "add") || !strcmp(w, "set")) && a) {
		b = find(a);
		if (!b) {
			if (*w == 's') { say("bad: no beacon %s", a); return; }
			for (i = 0; i < MAXB && B[i].used; i++) ;
			if (i == MAXB) { say("bad: too many"); return; }
			b = &B[i];
			memset(b, 0, sizeof *b);
			snprintf(b->name, sizeof b->name, "%s", a);
			b->used = b->on = 1; b->pdu = 3; b->every = 100;
			b->rssi[0] = -60; b->n_rssi = 1; b->count = -1;
			memcpy(b->addr, "\x00\x00\x5b\xac\x1e\xc0", 6);
			b->addr[0] = i + 1;
			b->addr_type = 1; b->next = now_ms();
		}
		while ((kv = strtok_r(NULL, " \t\r\n", &s))) {
			char *e = strchr(kv, '=');
			if (!e) { say("bad: %s", kv); continue; }
			*e = 0;
			if (set_kv(b, kv, e + 1)) say("bad: %s", kv);
		}
	} else say("bad: %s", w);
}

int main(int argc, char **argv)
{
	static char buf[8192];
	int fifo, have = 0;
	if (argc < 3) { fprintf(stderr, "usage: vradio FIFO LOG [BDADDR]\n"); return 2; }
	logf_ = fopen(argv[2], "a");
	if (!logf_) { perror(argv[2]); return 1; }
	if (argc > 3) { char l[64]; snprintf(l, sizeof l, "bdaddr %s", argv[3]); line(l); }
	mkfifo(argv[1], 0622);
	chmod(argv[1], 0622);
	fifo = open(argv[1], O_RDWR | O_NONBLOCK | O_CLOEXEC);
	if (fifo < 0) { perror(argv[1]); return 1; }
	for (;;) {
		double t = now_ms(), due = t + 1000;
		struct pollfd p[2] = { { fifo, POLLIN, 0 }, { vhci, POLLIN, 0 } };
		for (int i = 0; i < MAXB; i++) {
			struct beacon *b = &B[i];
			if (!b->used || !b->on || !b->count) continue;
			if (b->next <= t) {
				advert(b);
				if (b->count > 0) b->count--;
				b->next += b->every + rnd() % 10000 / 1000.0;
				if (b->next < t) b->next = t;
			}
			if (b->next < due) due = b->next;
		}
		if (inquiry_end) {
			u8 z = 0;
			if (inquiry_end <= t) { inquiry_end = 0; event(0x01, &z, 1); }
			else if (inquiry_end < due) due = inquiry_end;
		}
		double w = due - now_ms();
		if (poll(p, 2, w <= 0 ? 0 : (int)w + 1) < 0 && errno != EINTR) return 1;
		if (p[0].revents & POLLIN) {
			int n = read(fifo, buf + have, sizeof buf - 1 - have);
			if (n > 0) {
				char *s = buf, *e;
				have += n; buf[have] = 0;
				while ((e = strchr(s, '\n'))) { *e = 0; line(s); s = e + 1; }
				have -= s - buf;
				memmove(buf, s, have);
				if (have == sizeof buf - 1) have = 0;
			}
		}
		if (vhci >= 0 && p[1].fd == vhci && (p[1].revents & POLLIN)) {
			u8 h[1100];
			int n = read(vhci, h, sizeof h);
			if (n >= 4 && h[0] == 0x01) command(h[1] | h[2] << 8, h + 4, n - 4);
		}
	}
}
