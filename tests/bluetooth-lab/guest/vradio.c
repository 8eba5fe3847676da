/*
 * vradio - a scripted Bluetooth LE controller on /dev/vhci.
 *
 * It answers the HCI commands that the kernel needs to bring an adapter up and
 * to scan (controller.c) and, while a scan is enabled, sends advertising
 * reports for the beacons of its scene (scene.c).  It is driven by text lines
 * (see README.md beside run.sh) written to a FIFO, and logs what the host asks
 * of the radio.
 *
 * usage: vradio FIFO LOG [BDADDR]
 */
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "vradio.h"

static FILE *logf_;
static uint32_t rng = 0x1234567;

double now_ms(void)
{
	struct timespec t;
	clock_gettime(CLOCK_MONOTONIC, &t);
	return t.tv_sec * 1e3 + t.tv_nsec / 1e6;
}
uint32_t rnd(void)
{
	rng ^= rng << 13; rng ^= rng >> 17; rng ^= rng << 5;
	return rng;
}
void say(const char *f, ...)
{
	va_list a;
	fprintf(logf_, "%.3f ", now_ms() / 1e3);
	va_start(a, f); vfprintf(logf_, f, a); va_end(a);
	fputc('\n', logf_); fflush(logf_);
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
