/* The scripted controller: HCI in and out, and what it receives from the air. */
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "vradio.h"

#define MAXF 32

int vhci = -1, dual, dup_mode = DUP_RSSI;
u8 bdaddr[6] = { 0x01, 0x00, 0xAA, 0xAD, 0x1E, 0xC0 };
double inquiry_end;
static int scan_on, scan_dup, scan_active, scan_int = 0x10, scan_win = 0x10;
static double scan_t0;
static unsigned long reports, filtered;

/* ---- HCI out ---- */
static void put(const u8 *p, int n)
{
	if (vhci >= 0 && write(vhci, p, n) < 0)
		say("write: %s", strerror(errno));
}
void event(u8 code, const u8 *p, int n)
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
void advert(struct beacon *b)
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
static struct { u16 op; u8 status; int n; } F[MAXF];

void fail_command(u16 op, u8 status, int n)
{
	int i;
	for (i = 0; i < MAXF; i++) if (F[i].op == op) F[i].n = 0;
	for (i = 0; i < MAXF && F[i].n; i++) ;
	if (i == MAXF) { say("bad: too many failures"); return; }
	F[i].op = op; F[i].status = status; F[i].n = n;
}
static int take_fail(u16 op)
{
	for (int i = 0; i < MAXF; i++)
		if (F[i].n && F[i].op == op) {
			if (F[i].n > 0) F[i].n--;
			return F[i].status;
		}
	return -1;
}
void command(u16 op, const u8 *p, int n)
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
	case 0x200d:                    /* LE create connection: never answered */
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
void attach(void)
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
void detach(void)
{
	if (vhci < 0) return;
	close(vhci); vhci = -1; scan_on = 0; inquiry_end = 0;
	say("detached");
}
