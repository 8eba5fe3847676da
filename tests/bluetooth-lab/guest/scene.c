/* The beacons on the air, and the control lines that add and change them. */
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vradio.h"

struct beacon B[MAXB];
static const char *dup_name[] = { "strict", "data", "rssi", "off" };

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
void line(char *l)
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
		if (!st || !strcmp(st, "off")) fail_command(op, 0, 0);
		else fail_command(op, strtoul(st, NULL, 16), n ? atoi(n) : -1);
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
