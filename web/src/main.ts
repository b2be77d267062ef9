import { App } from "./app.ts";
import "./styles/base.css";
import "./styles/parts.css";
import "./styles/sign_in.css";
import "./styles/sound_picture.css";
import "./styles/library.css";
import "./styles/player.css";
import "./styles/subtitles.css";

const root = document.getElementById("app");
if (root) void new App(root).start();
