"""Where the training material comes from, and how each package's files are sorted.

A rule is (kind, pattern of the path, group). kind: voice, music or noise. The group is a speaker, as well as
it can be told from the path, or a language: what is kept out for tuning is kept out by whole groups. `\\1`
refers to the pattern's groups. The first rule of a package that matches counts.
"""

RULES = {
    # voices
    "tuxpaint-stamps-default": [("voice", r"_desc_([a-z_A-Z@]+)\.(ogg|wav)$", r"stamps-\1"),
                                ("voice", r"_desc\.(ogg|wav)$", "stamps-en"),
                                ("noise", r"(animal|vehicle|household|tool)[^/]*/.*\.(ogg|wav)$", "stamps")],
    "festvox-ru": [("voice", r"\.wav$", "ru")],
    "fillets-ng-data-nl": [("voice", r"/sound/[^/]+/nl/[^/]*-([mv])-[^/]*\.ogg$", r"fillets-\1"),
                           ("voice", r"/sound/[^/]+/nl/", "fillets-x")],
    "klettres-data": [("voice", r"klettres/([^/]+)/(alpha|syllab)/", r"klettres-\1")],
    "ktuberling-data": [("voice", r"ktuberling/sounds/([^/]+)/", r"ktuberling-\1")],
    "asterisk-prompt-es-co": [("voice", r"\.gsm$", "es-co")],
    "asterisk-prompt-fr-armelle": [("voice", r"\.(gsm|wav|sln\d*)$", "fr-armelle")],
    "hedgewars-data": [("voice", r"Sounds/voices/([^/]+)/", r"hedgewars-\1"),
                       ("noise", r"Sounds/[^/]+\.ogg$", "hedgewars"), ("music", r"Music/", "hedgewars")],
    "gcin-voice": [("voice", r"ogg/.*?(\d+)\.ogg$", r"gcin-\1")],
    "codec2-examples": [("voice", r"(hts1a|hts2a|mmt1|morig|forig|vk5qi|ve9qrp|cross|c01)[^/]*\.(wav|raw)$", "codec2")],
    "pocketsphinx-testdata": [("voice", r"(librivox|cards)/[^/]*\.wav$", r"sphinx-\1")],
    "alsa-utils": [("voice", r"(Front|Rear|Side)_[^/]*\.wav$", "alsa")],
    "flight-of-the-amazon-queen": [("voice", r"queen\.1c/([0-9A-F]{3})[0-9A-F]{3}([A-Z])", r"queen-\2\1")],
    "0ad-data": [("voice", r"audio/voice/([a-z]+)/civ/civ_([a-z]+)_", r"0ad-\1-\2"), ("music", r"audio/music/", "0ad"),
                 ("noise", r"audio/(interface/complete|resource|attack|ambient|actor/(fauna|mounted/move|human/move))", "0ad")],
    "warzone2100-data": [("voice", r"audio/(memressp|countdown|vtoltalk)/|audio/extra/pcv", "warzone"),
                         ("noise", r"audio/sfx/", "warzone")],
    "flightgear-data-base": [("voice", r"Sounds/(mk-viii|tcas/[a-z]+|altitude|marker)[^/]*/", r"flightgear-\1"),
                             ("noise", r"", "flightgear")],
    "trigger-rally-data": [("voice", r"sounds/codriver/([^/]+)/", r"rally-\1"), ("noise", r"", "rally")],
    "boswars-data": [("voice", r"units/.*(underattack|completed)\.wav$", "boswars"), ("music", r"[Mm]usic", "boswars"),
                     ("noise", r"(missile|explosion|effect|weapon)", "boswars")],
    "marsshooter-data": [("voice", r"audio/announcer/", "marsshooter"), ("music", r"audio/music", "marsshooter"),
                         ("noise", r"audio/sound", "marsshooter")],
    "sound-theme-freedesktop": [("voice", r"audio-channel-", "freedesktop"), ("noise", r"", "freedesktop")],
    "freedroidrpg-data": [("voice", r"tux_ingame_comments/", "freedroid"), ("music", r"[Mm]usic", "freedroid"),
                          ("noise", r"sound/effects/[^/]*\.ogg$", "freedroid")],
    "supertux-data": [("music", r"/music/", "supertux"), ("noise", r"/sounds/", "supertux")],
    "unknown-horizons": [("voice", r"audio/voice/([^/]+)/", r"horizons-\1"), ("music", r"audio/music/", "horizons"),
                         ("noise", r"audio/sounds/", "horizons")],
    # music
    **{p: [("music", r"", p)] for p in (
        "asc-music", "hyperrogue-music", "singularity-music", "planetblupi-music-ogg", "warzone2100-music",
        "wesnoth-1.16-music", "frozen-bubble-data", "extremetuxracer-data",
        "xmoto-data")},
    **{p: [("music", r"[Mm]usic|BGM|bgm|song", p), ("noise", r"", p)] for p in (
        "starfighter-data", "openclonk-data", "freedink-data", "flare-game",
        "lugaru-data", "supertuxkart-data", "widelands-data", "colobot-common-sounds",
        "glob2-data", "freeorion-data", "torcs-data", "lincity-ng-data")},
    "warmux-data": [("music", r"/music/", "warmux"), ("noise", r"weapons/", "warmux")],
    "megaglest-data": [("music", r"music", "megaglest"), ("noise", r"(ambient|building|water|click)", "megaglest")],
    "lomiri-sounds": [("music", r"ringtones", "lomiri"), ("noise", r"", "lomiri")],
    "sonic-pi-samples": [("music", r"/(loop|bass|drum|guit|perc|tabla)_", "sonic"), ("noise", r"/(ambi|elec|vinyl|glitch|mehackit)_", "sonic")],
    # effects
    **{p: [("noise", r"", p)] for p in (
        "oxygen-sounds", "gnome-audio", "sound-icons", "heroes-sound-effects", "cube2-data",
        "tuxpaint-data", "tuxtype-data", "tuxmath-data", "scorched3d-data", "pokerth-data",
        "freeciv-data", "foobillardplus-data", "minetest-data",
        "eiskaltdcpp-sounds", "psi-plus-sounds", "xblast-tnt-sounds")},
    "scratch": [("noise", r"/(Animal|Effects|Electronic|Percussion)/", "scratch"), ("music", r"/(Music Loops|Instruments)/", "scratch")],
    "wesnoth-1.16-data": [("noise", r"/ambient/|(rain|wind|water|bird|cricket|thunder|horse|sword|bow|hatchet|axe|fire|storm)", "wesnoth")],
    "nexuiz-data": [("voice", r"sound/(announcer)/", r"nexuiz-\1"), ("noise", r"sound/(weapons|ambient|desertfactory)/", "nexuiz")],
    "openarena-data": [("noise", r"sound/(world|items|misc|weapons|player/footsteps)/", "openarena")],
}

# Files whose names speak of voices do not belong to music or noise.
NOT_NOISE = (r"voice|speech|speak|say|talk|choir|vocal|sing|scream|yell|shout|laugh|hello|ouch|death|die|pain|hurt|"
             r"taunt|cheer|crowd|male|human|girl|boy|women|announc|desc_|grunt|cry|gasp|_ack|select|yes|huh|"
             r"attack[0-9]|countdown|chant|residential|shanty|tavern|inn_|excuse|areyou|youcan|under.?attack|baby|kid|child|cough|sneeze|burp|goblin|ogre|orc|troll|elf|dwarf")

# Never trained or tuned on: these measure the result.
HELD_OUT = ("asterisk-core-sounds-", "asterisk-prompt-it", "asterisk-moh-", "fillets-ng-data-cs", "fretsonfire", "flite",
            "espeak-ng")

ARCHIVES = r"\.(zip|pk3|wz)$"


if __name__ == "__main__":
    print("\n".join(sorted(RULES)))  # the packages to fetch
