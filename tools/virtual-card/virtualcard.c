/*
 * A virtual DSP card: an ALSA external control plugin that presents the unit's mixer controls, so
 * that the real amixer and alsa-lib can run where no such card exists.
 *
 * Every amixer run is a new process, so the values live in a small text state file, one
 * "Control Name=value" line per control. The file is parsed once when the control handle is opened;
 * a write re-reads it under an exclusive flock on the lock file, changes one value and replaces the
 * file (temporary file + rename), so that concurrent amixer runs lose no write and a reader never
 * sees half a file. The configuration (see README.md) names the files.
 */

#include <alsa/asoundlib.h>
#include <alsa/control_external.h>

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#define NAME_MAX_LEN 44 /* the longest name, "Music DBE Effect Strength", and then some */
#define STATE_MAX_BYTES 65536

struct control {
	char name[NAME_MAX_LEN];
	long min;
	long max;
	long power_on;
	int is_switch;
};

static const char *const peq_names[] = { "User", "Spk1", "Spk2", "Spk3", "Spk4" };
static const long band_fc[10] = { 60, 170, 310, 600, 1000, 3000, 6000, 12000, 14000, 16000 };

static const struct {
	const char *word;
	long min, max, power_on;
} dbe_params[] = {
	{ "Switch Mode", 0, 2, 1 },
	{ "Xover FC", 20, 500, 80 },
	{ "Mix Balance", 0, 100, 50 },
	{ "Effect Strength", 0, 100, 50 },
	{ "Amp Limit", 0, 100, 80 },
	{ "LP FC", 20, 500, 120 },
	{ "HP FC", 20, 500, 40 },
	{ "Harm Content", 0, 100, 50 },
};

#define PEQ_COUNT 5
#define PEQ_CONTROLS 23 /* switch mode, core type, master gain, ten band gains, ten band FCs */
#define CONTROL_COUNT (PEQ_COUNT * PEQ_CONTROLS + 1 + 8 + 4 + 3)

static struct control controls[CONTROL_COUNT];

static void add(int *n, int is_switch, long min, long max, long power_on, const char *fmt, ...)
{
	va_list ap;
	struct control *c = &controls[(*n)++];

	va_start(ap, fmt);
	vsnprintf(c->name, sizeof(c->name), fmt, ap);
	va_end(ap);
	c->min = min;
	c->max = max;
	c->power_on = power_on;
	c->is_switch = is_switch;
}

/* The catalogue, in the order amixer lists it. Built at run time because names are composed. */
static void build_catalogue(void)
{
	int n = 0;
	int p, b;
	size_t d;

	if (controls[0].name[0])
		return;
	for (p = 0; p < PEQ_COUNT; p++) {
		add(&n, 0, 0, 2, 1, "%s PEQ Switch Mode", peq_names[p]);
		add(&n, 0, 0, 2, 0, "%s PEQ Core Type", peq_names[p]);
		add(&n, 0, 0, 80, 60, "%s PEQ Master Gain", peq_names[p]);
		for (b = 0; b < 10; b++)
			add(&n, 0, 0, 80, 60, "%s PEQ Band%d Gain", peq_names[p], b + 1);
		for (b = 0; b < 10; b++)
			add(&n, 0, 20, 24000, band_fc[b], "%s PEQ Band%d FC", peq_names[p], b + 1);
	}
	add(&n, 0, 0, 127, 80, "Main Vol Master Gain");
	for (d = 0; d < sizeof(dbe_params) / sizeof(dbe_params[0]); d++)
		add(&n, 0, dbe_params[d].min, dbe_params[d].max, dbe_params[d].power_on, "Music DBE %s",
		    dbe_params[d].word);
	for (b = 1; b <= 4; b++)
		add(&n, 0, 0, 768, 0, "Music Chan%d Delay", b);
	add(&n, 0, 0, 7, 1, "Voicecall CVC Send Mode");
	add(&n, 0, 0, 7, 1, "Voicecall CVC Recv Mode");
	add(&n, 1, 0, 1, 0, "Voicecall CVC 2Mic");
}

static int find_control(const char *name, size_t len)
{
	int i;

	for (i = 0; i < CONTROL_COUNT; i++)
		if (strlen(controls[i].name) == len && memcmp(controls[i].name, name, len) == 0)
			return i;
	return -1;
}

struct card {
	snd_ctl_ext_t ext;
	char *state_path;
	char *lock_path;
	char *journal_path;     /* NULL: no journal */
	char *fail_writes_path; /* NULL: no write faults */
	char *fail_reads_path;  /* NULL: no read faults */
	long values[CONTROL_COUNT];
	unsigned char fail_write[CONTROL_COUNT];
	unsigned char fail_read[CONTROL_COUNT];
	/* The controls this process lists: all but the hidden ones (see card_elem_count). */
	unsigned char hidden[CONTROL_COUNT];
	int visible[CONTROL_COUNT];
	int visible_count;
};

static void report(const char *fmt, ...)
{
	va_list ap;

	fputs("virtual card: ", stderr);
	va_start(ap, fmt);
	vfprintf(stderr, fmt, ap);
	va_end(ap);
	fputc('\n', stderr);
}

/* Reads a whole small file. Returns its length, -1 when it cannot be read (errno set), and -2 when
 * it is larger than any file this card writes. */
static long read_file(const char *path, char *buf, size_t size)
{
	long total = 0;
	int fd = open(path, O_RDONLY | O_CLOEXEC);

	if (fd < 0)
		return -1;
	for (;;) {
		ssize_t n = read(fd, buf + total, size - (size_t)total);
		if (n < 0) {
			if (errno == EINTR)
				continue;
			close(fd);
			return -1;
		}
		if (n == 0)
			break;
		total += n;
		if ((size_t)total == size) {
			close(fd);
			return -2;
		}
	}
	close(fd);
	buf[total] = '\0';
	return total;
}

static void set_power_on(long *values)
{
	int i;

	for (i = 0; i < CONTROL_COUNT; i++)
		values[i] = controls[i].power_on;
}

enum state_result { STATE_OK, STATE_MISSING, STATE_BAD };

/* Parses the state file into values. A good file names every control exactly once, with a value in
 * the control's range, each line ended by a newline; anything else (a truncated or damaged file)
 * is STATE_BAD and leaves the power-on values, with the reason in why. */
static enum state_result load_state(const char *path, long *values, char *why, size_t why_size)
{
	unsigned char seen[CONTROL_COUNT];
	char *buf = malloc(STATE_MAX_BYTES + 1);
	char *line, *end;
	long len;
	int line_no = 0, count = 0;

	set_power_on(values);
	if (!buf) {
		snprintf(why, why_size, "out of memory");
		return STATE_BAD;
	}
	len = read_file(path, buf, STATE_MAX_BYTES);
	if (len == -1 && errno == ENOENT) {
		free(buf);
		return STATE_MISSING;
	}
	if (len < 0) {
		snprintf(why, why_size, "%s", len == -1 ? strerror(errno) : "too large");
		goto bad;
	}
	memset(seen, 0, sizeof(seen));
	for (line = buf; line < buf + len; line = end + 1) {
		char *eq, *num_end;
		long value;
		int i;

		line_no++;
		end = memchr(line, '\n', (size_t)(buf + len - line));
		if (!end) {
			snprintf(why, why_size, "line %d has no end (truncated)", line_no);
			goto bad;
		}
		*end = '\0';
		if (line[0] == '#' || line[0] == '\0')
			continue;
		eq = strchr(line, '=');
		if (!eq) {
			snprintf(why, why_size, "line %d has no '='", line_no);
			goto bad;
		}
		i = find_control(line, (size_t)(eq - line));
		if (i < 0) {
			snprintf(why, why_size, "line %d names no control", line_no);
			goto bad;
		}
		errno = 0;
		value = strtol(eq + 1, &num_end, 10);
		if (errno || num_end == eq + 1 || *num_end != '\0' || value < controls[i].min ||
		    value > controls[i].max) {
			snprintf(why, why_size, "line %d: bad value for \"%s\"", line_no, controls[i].name);
			goto bad;
		}
		if (seen[i]) {
			snprintf(why, why_size, "line %d: \"%s\" twice", line_no, controls[i].name);
			goto bad;
		}
		seen[i] = 1;
		values[i] = value;
		count++;
	}
	if (count != CONTROL_COUNT) {
		snprintf(why, why_size, "%d of %d controls missing", CONTROL_COUNT - count, CONTROL_COUNT);
		goto bad;
	}
	free(buf);
	return STATE_OK;
bad:
	free(buf);
	set_power_on(values);
	return STATE_BAD;
}

/* Once per process: a card that cannot repair its state would otherwise repeat it for every write. */
static void report_damage(const struct card *card, const char *why)
{
	static int reported;

	if (!reported)
		report("state file %s is damaged (%s); starting from power-on values", card->state_path, why);
	reported = 1;
}

static int write_all(int fd, const char *buf, size_t len)
{
	while (len > 0) {
		ssize_t n = write(fd, buf, len);
		if (n < 0) {
			if (errno == EINTR)
				continue;
			return -1;
		}
		buf += n;
		len -= (size_t)n;
	}
	return 0;
}

/* Replaces the state file as a whole: a reader sees the old file or the new one, never a mix. */
static int save_state(const char *path, const long *values)
{
	char buf[CONTROL_COUNT * (NAME_MAX_LEN + 24)]; /* name, '=', a long, newline */
	char tmp[4096];
	size_t len = 0;
	int i, fd;

	for (i = 0; i < CONTROL_COUNT; i++)
		len += (size_t)snprintf(buf + len, sizeof(buf) - len, "%s=%ld\n", controls[i].name, values[i]);
	if (snprintf(tmp, sizeof(tmp), "%s.tmp.%ld", path, (long)getpid()) >= (int)sizeof(tmp))
		return -ENAMETOOLONG;
	fd = open(tmp, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
	if (fd < 0)
		return -errno;
	if (write_all(fd, buf, len) < 0 || close(fd) < 0) {
		int err = -errno;
		unlink(tmp);
		return err;
	}
	if (rename(tmp, path) < 0) {
		int err = -errno;
		unlink(tmp);
		return err;
	}
	return 0;
}

static int lock_card(const struct card *card)
{
	int fd = open(card->lock_path, O_RDWR | O_CREAT | O_CLOEXEC, 0644);

	if (fd < 0)
		return -1;
	while (flock(fd, LOCK_EX) < 0) {
		if (errno != EINTR) {
			close(fd);
			return -1;
		}
	}
	return fd;
}

static void unlock_card(int fd)
{
	close(fd); /* closing the only descriptor releases the flock */
}

/* Whether a file can be created beside path (root passes any permission bits, but not a read-only
 * file system). */
static int folder_writable(const char *path)
{
	char dir[4096];
	const char *slash = strrchr(path, '/');
	size_t len = slash ? (size_t)(slash - path) : 0;

	if (!slash)
		return access(".", W_OK) == 0;
	if (len == 0)
		return access("/", W_OK) == 0;
	if (len >= sizeof(dir))
		return 0;
	memcpy(dir, path, len);
	dir[len] = '\0';
	return access(dir, W_OK) == 0;
}

/* Reads the state for this process. A missing file is a card that was never written: it is created
 * with the power-on values. A damaged one is reported and replaced by them, under the lock and only
 * if it is still damaged then, so that the report appears once and not in every later process.
 * Returns whether the card can keep a write: the lock can be taken, the state file is sound or was
 * repaired, and its folder is writable. */
static int open_state(struct card *card)
{
	char why[128];
	enum state_result r = load_state(card->state_path, card->values, why, sizeof(why));
	int fd, saved = 0;

	if (r == STATE_OK) {
		fd = open(card->lock_path, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
		if (fd < 0)
			return 0;
		close(fd);
		return folder_writable(card->state_path);
	}
	fd = lock_card(card);
	if (fd < 0) {
		if (r == STATE_BAD)
			report_damage(card, why);
		return 0;
	}
	r = load_state(card->state_path, card->values, why, sizeof(why));
	if (r == STATE_BAD)
		report_damage(card, why);
	saved = r == STATE_OK || save_state(card->state_path, card->values) == 0;
	unlock_card(fd);
	return saved;
}

/* A fault file lists control names, one a line; a missing file lists none. */
static void load_faults(const char *path, unsigned char *fail)
{
	char buf[8192];
	char *line, *end;
	long len;

	memset(fail, 0, CONTROL_COUNT);
	if (!path)
		return;
	len = read_file(path, buf, sizeof(buf) - 1);
	if (len < 0)
		return;
	for (line = buf; line < buf + len; line = end + 1) {
		int i;

		end = memchr(line, '\n', (size_t)(buf + len - line));
		if (!end)
			end = buf + len;
		i = find_control(line, (size_t)(end - line));
		if (i >= 0)
			fail[i] = 1;
	}
}

/* The control that this process was started to set, when it is "amixer [options] sset|set NAME ...",
 * else -1. */
static int control_to_set(void)
{
	char buf[4096];
	const char *args[64];
	const char *base;
	long len = read_file("/proc/self/cmdline", buf, sizeof(buf) - 1);
	int argc = 0, i;
	char *p;

	if (len <= 0)
		return -1;
	for (p = buf; p < buf + len && argc < 64; p += strlen(p) + 1)
		args[argc++] = p;
	base = strrchr(args[0], '/');
	base = base ? base + 1 : args[0];
	if (strcmp(base, "amixer") != 0)
		return -1;
	for (i = 1; i < argc; i++) {
		const char *a = args[i];
		if (a[0] == '-' && a[1] != '\0') {
			/* the options that take a separate argument */
			if (!strcmp(a, "-c") || !strcmp(a, "-D") || !strcmp(a, "-a") || !strcmp(a, "--card") ||
			    !strcmp(a, "--device") || !strcmp(a, "--abstract"))
				i++;
			continue;
		}
		if ((!strcmp(a, "sset") || !strcmp(a, "set")) && i + 1 < argc)
			return find_control(args[i + 1], strlen(args[i + 1]));
		return -1;
	}
	return -1;
}

static void append_journal(const struct card *card, int i, long value)
{
	char line[NAME_MAX_LEN + 32];
	int len, fd;

	if (!card->journal_path)
		return;
	len = snprintf(line, sizeof(line), "%s=%ld\n", controls[i].name, value);
	fd = open(card->journal_path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
	if (fd < 0)
		return;
	write_all(fd, line, (size_t)len);
	close(fd);
}

static void card_close(snd_ctl_ext_t *ext)
{
	struct card *card = ext->private_data;

	free(card->state_path);
	free(card->lock_path);
	free(card->journal_path);
	free(card->fail_writes_path);
	free(card->fail_reads_path);
	free(card);
}

/* Faults are shown by leaving controls out of the listing, because amixer reports nothing else
 * reliably: alsa-lib's simple mixer reads every control when it loads, so one failed read fails the
 * load of all of them; and a failed write makes amixer exit 1 only when no argument follows the value
 * (any further word, such as the "<" of the controller's " < /dev/null 2>&1", turns the result into
 * 0). A control that is not listed makes amixer exit 1 for that control alone ("Unable to find simple
 * control"). So a control whose reads fail is hidden from every process, and a control whose writes
 * fail is hidden from an amixer process that was asked to set it. */
static int card_elem_count(snd_ctl_ext_t *ext)
{
	struct card *card = ext->private_data;

	return card->visible_count;
}

static int card_elem_list(snd_ctl_ext_t *ext, unsigned int offset, snd_ctl_elem_id_t *id)
{
	struct card *card = ext->private_data;

	if (offset >= (unsigned int)card->visible_count)
		return -EINVAL;
	snd_ctl_elem_id_set_interface(id, SND_CTL_ELEM_IFACE_MIXER);
	snd_ctl_elem_id_set_name(id, controls[card->visible[offset]].name);
	return 0;
}

static snd_ctl_ext_key_t card_find_elem(snd_ctl_ext_t *ext, const snd_ctl_elem_id_t *id)
{
	struct card *card = ext->private_data;
	unsigned int numid = snd_ctl_elem_id_get_numid(id);
	const char *name;
	int i;

	if (numid > 0) /* numids are list offsets + 1 */
		return numid <= (unsigned int)card->visible_count ? (snd_ctl_ext_key_t)card->visible[numid - 1]
								   : SND_CTL_EXT_KEY_NOT_FOUND;
	if (snd_ctl_elem_id_get_interface(id) != SND_CTL_ELEM_IFACE_MIXER || snd_ctl_elem_id_get_index(id) != 0)
		return SND_CTL_EXT_KEY_NOT_FOUND;
	name = snd_ctl_elem_id_get_name(id);
	i = find_control(name, strlen(name));
	return i < 0 || card->hidden[i] ? SND_CTL_EXT_KEY_NOT_FOUND : (snd_ctl_ext_key_t)i;
}

static int card_get_attribute(snd_ctl_ext_t *ext, snd_ctl_ext_key_t key, int *type, unsigned int *acc,
			      unsigned int *count)
{
	(void)ext;
	if (key >= CONTROL_COUNT)
		return -EINVAL;
	*type = controls[key].is_switch ? SND_CTL_ELEM_TYPE_BOOLEAN : SND_CTL_ELEM_TYPE_INTEGER;
	*acc = SND_CTL_EXT_ACCESS_READWRITE;
	*count = 1;
	return 0;
}

static int card_get_integer_info(snd_ctl_ext_t *ext, snd_ctl_ext_key_t key, long *imin, long *imax,
				 long *istep)
{
	(void)ext;
	if (key >= CONTROL_COUNT)
		return -EINVAL;
	*imin = controls[key].min;
	*imax = controls[key].max;
	*istep = 1;
	return 0;
}

static int card_read_integer(snd_ctl_ext_t *ext, snd_ctl_ext_key_t key, long *value)
{
	struct card *card = ext->private_data;

	if (key >= CONTROL_COUNT)
		return -EINVAL;
	if (card->fail_read[key])
		return -EIO;
	*value = card->values[key];
	return 0;
}

static int card_write_integer(snd_ctl_ext_t *ext, snd_ctl_ext_key_t key, long *value)
{
	struct card *card = ext->private_data;
	long values[CONTROL_COUNT];
	char why[128];
	int fd, err;

	if (key >= CONTROL_COUNT)
		return -EINVAL;
	if (card->fail_write[key])
		return -EIO;
	if (*value < controls[key].min || *value > controls[key].max)
		return -EINVAL;
	fd = lock_card(card);
	if (fd < 0)
		return -EIO;
	/* Another process may have written since this one opened the card. */
	if (load_state(card->state_path, values, why, sizeof(why)) == STATE_BAD)
		report_damage(card, why);
	values[key] = *value;
	err = save_state(card->state_path, values);
	if (err == 0) {
		memcpy(card->values, values, sizeof(values));
		append_journal(card, (int)key, *value);
	}
	unlock_card(fd);
	/* A failed write leaves what this process reads unchanged, or alsa-lib would take it as done. */
	return err < 0 ? -EIO : 1;
}

static const snd_ctl_ext_callback_t card_callbacks = {
	.close = card_close,
	.elem_count = card_elem_count,
	.elem_list = card_elem_list,
	.find_elem = card_find_elem,
	.get_attribute = card_get_attribute,
	.get_integer_info = card_get_integer_info,
	.read_integer = card_read_integer,
	.write_integer = card_write_integer,
};

static int config_string(snd_config_t *n, const char *id, char **out)
{
	const char *s;

	if (snd_config_get_string(n, &s) < 0) {
		SNDERR("virtual card: \"%s\" must be a string", id);
		return -EINVAL;
	}
	free(*out);
	*out = strdup(s);
	return *out ? 0 : -ENOMEM;
}

SND_CTL_PLUGIN_DEFINE_FUNC(eqcard)
{
	snd_config_iterator_t i, next;
	struct card *card;
	int err, c, writable;

	(void)root;
	build_catalogue();
	card = calloc(1, sizeof(*card));
	if (!card)
		return -ENOMEM;
	snd_config_for_each(i, next, conf) {
		snd_config_t *n = snd_config_iterator_entry(i);
		const char *id;

		if (snd_config_get_id(n, &id) < 0)
			continue;
		if (!strcmp(id, "comment") || !strcmp(id, "type") || !strcmp(id, "hint"))
			continue;
		if (!strcmp(id, "state"))
			err = config_string(n, id, &card->state_path);
		else if (!strcmp(id, "lock"))
			err = config_string(n, id, &card->lock_path);
		else if (!strcmp(id, "journal"))
			err = config_string(n, id, &card->journal_path);
		else if (!strcmp(id, "fail_writes"))
			err = config_string(n, id, &card->fail_writes_path);
		else if (!strcmp(id, "fail_reads"))
			err = config_string(n, id, &card->fail_reads_path);
		else {
			SNDERR("virtual card: unknown field %s", id);
			err = -EINVAL;
		}
		if (err < 0)
			goto error;
	}
	if (!card->state_path) {
		SNDERR("virtual card: no state file configured");
		err = -EINVAL;
		goto error;
	}
	if (!card->lock_path) {
		size_t len = strlen(card->state_path) + sizeof(".lock");
		card->lock_path = malloc(len);
		if (!card->lock_path) {
			err = -ENOMEM;
			goto error;
		}
		snprintf(card->lock_path, len, "%s.lock", card->state_path);
	}

	writable = open_state(card);
	load_faults(card->fail_writes_path, card->fail_write);
	load_faults(card->fail_reads_path, card->fail_read);
	c = control_to_set();
	if (c >= 0 && !writable)
		report("cannot keep a write in %s; \"%s\" refused", card->state_path, controls[c].name);
	if (c >= 0 && (card->fail_write[c] || !writable))
		card->hidden[c] = 1;
	for (c = 0; c < CONTROL_COUNT; c++) {
		if (card->fail_read[c])
			card->hidden[c] = 1;
		if (!card->hidden[c])
			card->visible[card->visible_count++] = c;
	}

	card->ext.version = SND_CTL_EXT_VERSION;
	card->ext.card_idx = 0;
	snprintf(card->ext.id, sizeof(card->ext.id), "EqCard");
	snprintf(card->ext.driver, sizeof(card->ext.driver), "Virtual DSP");
	snprintf(card->ext.name, sizeof(card->ext.name), "Virtual DSP card");
	snprintf(card->ext.longname, sizeof(card->ext.longname), "Virtual DSP card (state in %s)",
		 card->state_path);
	snprintf(card->ext.mixername, sizeof(card->ext.mixername), "Virtual DSP");
	card->ext.poll_fd = -1;
	card->ext.callback = &card_callbacks;
	card->ext.private_data = card;

	err = snd_ctl_ext_create(&card->ext, name, mode);
	if (err < 0)
		goto error;
	*handlep = card->ext.handle;
	return 0;

error:
	free(card->state_path);
	free(card->lock_path);
	free(card->journal_path);
	free(card->fail_writes_path);
	free(card->fail_reads_path);
	free(card);
	return err;
}

SND_CTL_PLUGIN_SYMBOL(eqcard);
